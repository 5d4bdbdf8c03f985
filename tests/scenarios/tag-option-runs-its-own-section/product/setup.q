[install]
Text  never       -  -  NEVER   Not asked in the special run
[Backup]
Dir   backup_dir  -  -  BACKUP  Back up into which directory
