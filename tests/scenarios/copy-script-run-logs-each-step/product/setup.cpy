[remove]
RmDir out -
[install]
MkDir $(dir)/bin
CopyFile src/*.txt - $(dir)/bin
CopyFile src
Frobnicate x y z
