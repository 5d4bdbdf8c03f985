# What each action does to the files, one command a line, after its
# questions. $(name) is replaced when the section is read. A line is
#   CopyFile|CopyDir  source  not  destination  [control [comparison]]
#   MkDir    directory                          [control [comparison]]
#   Ini      template  file                     (references replaced)
#   Rename   from  to
#   RmFile|RmDir  source  not
#   Exist    path  setting                      setting = whether path exists
#   Chown    source  not  user[:group]
#   Chmod    source  not  octal-mode
#   Error    setting  message                   fails when setting is false
#   WFile    file  setting                      writes the setting's value
#   RFile    file  setting                      empties the file
# "not" lists the names to leave out (wildcards, comma-separated; "-" for
# none). A command with a control runs only when that setting is true or,
# with a comparison, equal to it.

[install]
MkDir     $(target_dir)/htdocs
MkDir     $(target_dir)/cgi-bin
MkDir     $(target_dir)/etc
MkDir     $(target_dir)/data
CopyDir   $(current_dir)/files/htdocs/        *~,*.bak  $(target_dir)/htdocs
CopyFile  $(current_dir)/files/cgi-bin/*.cgi  -         $(target_dir)/cgi-bin
CopyFile  $(current_dir)/files/refused.txt    -         $(target_dir)/etc
CopyFile  $(current_dir)/files/entries.txt    -         $(target_dir)/data
Ini       $(current_dir)/files/guestbook.conf.in  $(target_dir)/etc/$(conf_name).conf
Ini       $(current_dir)/files/gb-where.in        $(target_dir)/cgi-bin/gb-where
WFile     $(target_dir)/etc/title  title
WFile     $(target_dir)/VERSION    version
Chmod     $(target_dir)/cgi-bin/*.cgi  -  755
Chown     $(target_dir)/*  -  $(owner)
# With the web server: the pages and programs go into its directories too,
# and the signatures belong to its user.
MkDir     $(web_root)/guestbook                                      use_web  true
CopyDir   $(current_dir)/files/htdocs/        *~,*.bak  $(web_root)/guestbook  use_web  true
CopyFile  $(current_dir)/files/cgi-bin/*.cgi  -         $(web_scripts)  use_web  true
Ini       $(current_dir)/files/gb-where.in    $(web_scripts)/gb-where        use_web  true
Chown     $(target_dir)/data  -  $(web_user):$(web_group)            use_web  true

[upgrade]
Exist     $(target_dir)/etc/$(conf_name).conf  have_conf
Error     have_conf  There is no $(target_dir)/etc/$(conf_name).conf to upgrade.
CopyDir   $(current_dir)/files/htdocs/        *~,*.bak  $(target_dir)/htdocs
CopyFile  $(current_dir)/files/cgi-bin/*.cgi  -         $(target_dir)/cgi-bin
Rename    $(target_dir)/etc/$(conf_name).conf  $(target_dir)/etc/$(conf_name).conf.old
Ini       $(current_dir)/files/guestbook.conf.in  $(target_dir)/etc/$(conf_name).conf
Exist     $(target_dir)/data/entries.txt  have_entries
CopyFile  $(current_dir)/files/entries.txt    -         $(target_dir)/data  have_entries  false
WFile     $(target_dir)/etc/title  title
WFile     $(target_dir)/VERSION    version
Chmod     $(target_dir)/cgi-bin/*.cgi  -  755

[remove]
RmFile    $(web_scripts)/gb-*       -  use_web  true
RmDir     $(web_root)/guestbook     -  use_web  true
RmDir     $(target_dir)/*           data
RmDir     $(target_dir)             -  keep_entries  false

[clear]
MkDir     $(backup_dir)
CopyFile  $(target_dir)/data/entries.txt  -  $(backup_dir)
RFile     $(target_dir)/data/entries.txt  entries
