[upgrade]
MkDir  $(current_dir)/widget
