[install]
MkDir $(dest) no true
Error no Disk full
MkDir $(dest)
