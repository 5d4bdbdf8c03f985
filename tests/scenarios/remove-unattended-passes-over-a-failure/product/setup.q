[remove]
DirExist  dest  -  -  DEST  Remove Widget from which directory
