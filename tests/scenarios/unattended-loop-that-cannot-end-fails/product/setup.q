# Unattended, every pass takes the same defaults: done stays false.
[install]
Text  part  -  -  PART  Name of the part
YN    done  -  -  DONE  Is that all
Loop  done  0
