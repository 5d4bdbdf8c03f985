[install]
MkDir  $(dest)
WFile  $(dest)/edition  edition
