[install]
Text x - - X Never asked
