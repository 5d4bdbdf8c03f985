[install]
Text t - - H Title
