[install]
Dir   dest      -  -  DEST  Install into which directory
Text  edition   -  -  ED    Which edition
Text  greeting  -  -  HI    Greeting
