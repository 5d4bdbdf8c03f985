[install]
Text  user_name  -  -  NAME  Your name
Text  company    -  -  FIRM  Your company
[upgrade]
Text  user_name  -  -  NAME  Upgrading for
Text  company    -  -  FIRM  Your company
[remove]
Text  user_name  -  -  NAME  Removing for
