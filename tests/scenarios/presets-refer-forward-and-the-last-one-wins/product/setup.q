[install]
Text dest - - D Dest
Text title - - T Title
Text copies - - C Copies
Text note - - N Note
