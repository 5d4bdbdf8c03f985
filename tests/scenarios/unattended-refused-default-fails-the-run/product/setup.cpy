[install]
MkDir  $(current_dir)/widget
