[install]
FileExist dest - - H Where
