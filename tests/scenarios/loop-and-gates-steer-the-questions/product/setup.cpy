[install]
MkDir  $(current_dir)/out/part-$(last_part)
MkDir  $(current_dir)/out/extra-$(extra_name)
MkDir  $(current_dir)/out/fast-$(fast_opt)
MkDir  $(current_dir)/out/slow-$(slow_opt)
MkDir  $(current_dir)/out/note-$(note)
