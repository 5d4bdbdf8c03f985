[upgrade]
CopyFile  $(current_dir)/new/*  -  $(dest)
