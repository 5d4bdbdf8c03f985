[install]
Text base - - B Base
