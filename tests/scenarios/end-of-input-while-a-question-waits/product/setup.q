[install]
Text  user_name  -  -  NAME  Your name
Text  company    -  -  FIRM  Your company
