[install]
YN        licence_ok      -         -      LICENCE  Do you accept the licence in LICENCE.txt
Error     licence_ok      LICENCE   The Guestbook is installed only when its licence is accepted.
DirEmpty  target_dir      -         -      TARGET   Install $(product) $(version) into which new or empty directory
# A misspelt question type.
Txt       title           -         -      TITLE    Title of the guestbook's pages
Text      owner           -         -      OWNER    Owner of the installed files (user or user:group)
# A control that nothing sets.
Dir       web_root        use_webb  true   WEBROOT  The web server's directory for pages
# Too few words: the line is dropped.
FileName  conf_name       -         -      CONF
YN        dirs_ok         -         -      CONFIRM  Install into $(target_dir)
# No question from 4 to here sets keep_entries.
Loop      keep_entries    4
# There is no question 20.
Loop      dirs_ok         20

[remove]
DirExist  target_dir      -         -      TARGET   Remove $(product) from which directory
# Nothing sets keep_entries: its default alone decides.
Error     keep_entries    KEEP      The signatures are kept.
