# The questions of each action, asked in order; each answer goes into the
# setting named after the keyword. A line is one of
#   Text|YN|Dir|DirExist|DirEmpty|File|FileExist|FileName|Copy
#            setting  control  comparison  help-id  question text
#   Error    setting  help-id  text     stops the run when setting is false
#   Loop     setting  position          goes back while setting is false
#   Exist    path     setting           setting = whether path exists
# A question with a control is asked only when that setting is true, or,
# with a comparison, equal to it ("-" for none). Positions count from 0.

[install]
YN        licence_ok      -        -      LICENCE  Do you accept the licence in LICENCE.txt
Error     licence_ok      LICENCE  The Guestbook is installed only when its licence is accepted.
DirEmpty  target_dir      -        -      TARGET   Install $(product) $(version) into which new or empty directory
YN        use_web         no_web   false  WEB      Also put the pages and programs in the web server's directories
Dir       web_root        use_web  true   WEBROOT  The web server's directory for pages
Dir       web_scripts     use_web  true   WEBCGI   The web server's directory for CGI programs
Text      title           -        -      TITLE    Title of the guestbook's pages
File      log_file        -        -      LOG      File that records each signature (in the data directory unless a full path)
FileExist notify_program  -        -      NOTIFY   Program run for each new signature
FileName  conf_name       -        -      CONF     Name of the settings file
Text      owner           -        -      OWNER    Owner of the installed files (user or user:group)
YN        dirs_ok         -        -      CONFIRM  Install into $(target_dir) with the settings in $(conf_name).conf
Loop      dirs_ok         2

[upgrade]
DirExist  target_dir      -        -      TARGET   Which directory holds $(product)
Exist     $(target_dir)/VERSION   installed
Error     installed       NOTHERE  There is no $(product) in $(target_dir); choose Install instead.
Copy      title           -        -      TITLE    old_title
Text      title           -        -      TITLE    Title of the guestbook's pages
FileName  conf_name       -        -      CONF     Name of its settings file

[remove]
DirExist  target_dir      -        -      TARGET   Remove $(product) from which directory
YN        use_web         no_web   false  WEB      Remove the pages and programs from the web server's directories too
YN        keep_entries    -        -      KEEP     Keep the signatures (in $(target_dir)/data)

[clear]
DirExist  target_dir      -        -      TARGET   Which directory holds $(product)
Dir       backup_dir      -        -      BACKUP   Keep a copy of the signatures in which directory
