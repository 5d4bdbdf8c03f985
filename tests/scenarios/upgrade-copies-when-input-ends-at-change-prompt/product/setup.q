[upgrade]
DirExist  dest  -  -  DEST  Upgrade $(product) to $(version) in which directory
