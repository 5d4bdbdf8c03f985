[install]
FileExist  licence  -  -  LICENCE  Where is the licence file
Text       never    -  -  NEVER    Not asked after the refusal
