[install]
Text  answer  -  -  A  Your answer
