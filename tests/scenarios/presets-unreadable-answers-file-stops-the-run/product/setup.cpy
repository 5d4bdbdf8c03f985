[install]
MkDir $(current_dir)/never
