[t]
RmDir   $(nosuch)victim              -
RmFile  victim/$(flag)keep           -
RmDir   /no-such-name-here-*         -
