[install]
MkDir     $(current_dir)/never
[backup]
MkDir     $(backup_dir)
CopyFile  $(current_dir)/data/*  -  $(backup_dir)
