[install]
MkDir $(dest)
[remove]
RmDir $(dest)/* - keep false
