[install]
Text   part        -           -     PART    Name of the part
YN     done        -           -     DONE    Is that all
Loop   done        0
Exist  $(current_dir)/marker   has_marker
Copy   last_part   -           -     LAST    part
YN     extras      -           -     EXTRAS  Add an extra
Text   extra_name  extras      -     EXTRA   Name of the extra
Text   fast_opt    mode        fast  FAST    Option for the fast mode
Text   slow_opt    mode        slow  SLOW    Option for the slow mode
Text   note        has_marker  true  NOTE    Note for the marker
