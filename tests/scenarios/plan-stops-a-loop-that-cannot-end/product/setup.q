[install]
Text dest - - H Where
Loop no 0
