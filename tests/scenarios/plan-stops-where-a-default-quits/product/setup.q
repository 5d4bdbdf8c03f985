[install]
Text letter - - H Letter
