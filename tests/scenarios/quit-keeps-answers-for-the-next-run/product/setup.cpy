[remove]
RmFile  $(current_dir)/missing/*  -
RmFile  $(current_dir)/old/*.tmp  -
RmDir   $(current_dir)/old        -
