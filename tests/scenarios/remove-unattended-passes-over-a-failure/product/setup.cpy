[remove]
RmFile  $(dest)/*.txt     -
RmFile  $(dest)/*.conf    -
RmDir   $(dest)           -
