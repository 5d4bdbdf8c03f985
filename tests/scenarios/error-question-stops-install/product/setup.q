[install]
YN     licence_ok  -  -  LICENCE  Do you accept the licence of $(product)
Error  licence_ok  LICENCE  $(product) is installed only when its licence is accepted.
Text   never       -  -  NEVER    Not asked after the error
