[install]
MkDir /tmp/x
