[install]
Text flag - - H Flag
Dir dest - - DEST Where
# dest is set by question 1, between 0 and here.
Loop dest 0
# A question sets flag, a probe sets probed.
Error flag H Stop
Error probed H Stop
Text quit nosuch - H Ask $(nada)
[qonly]
Text x - - H Ask
