[install]
MkDir     $(dest)
CopyFile  $(current_dir)/payload/*.txt  -  $(dest)
CopyFile  $(current_dir)/docs/*         -  $(dest)  want_docs
