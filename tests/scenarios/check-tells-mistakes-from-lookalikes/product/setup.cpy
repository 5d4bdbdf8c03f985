[install]
MkDir $(dest)
RmDir $(empty)/x -
# Only a reference at the start can leave the path empty.
RmDir $(dest)/$(empty) -
RmFile /etc/app.conf -
RmDir //opt -
# sub holds a directory only: nothing for CopyFile, something for CopyDir.
CopyFile sub/* - $(dest)
CopyDir sub/* - $(dest)
Ini $(current_dir)/t.in $(dest)/t
Error stop Oops
Exist /x seen
Error seen Oops
Error flag Oops
MkDir $(dest)/x ctl
