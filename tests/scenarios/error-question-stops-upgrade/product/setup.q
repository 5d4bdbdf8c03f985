[upgrade]
Exist  $(current_dir)/widget/VERSION  installed
Error  installed  NOTHERE  There is no $(product) in $(current_dir)/widget; choose Install instead.
Text   never      -  -  NEVER  Not asked after the error
