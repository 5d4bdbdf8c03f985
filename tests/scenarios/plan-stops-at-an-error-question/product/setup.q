[install]
Error no H Stop here
