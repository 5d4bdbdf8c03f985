[install]
Text  user_name  -  -  NAME  Who is installing $(product) $(version)
YN    want_docs  -  -  DOCS  Install the documentation
Dir   dest       -  -  DEST  Install into which directory
