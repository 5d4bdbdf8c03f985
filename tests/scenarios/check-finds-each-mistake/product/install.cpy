[install]
MkDir     $(target_dir)/htdocs
# A source that is not in the product's directory.
CopyDir   $(current_dir)/files/html/              *~,*.bak  $(target_dir)/htdocs
# A misspelt command.
CopyFlie  $(current_dir)/files/entries.txt        -         $(target_dir)/data
# Too few words: the line is dropped.
CopyFile  $(current_dir)/files/refused.txt        -
# A template that is not there.
Ini       $(current_dir)/files/gb-where.in        $(target_dir)/cgi-bin/gb-where
# A template with a misspelt reference in it.
Ini       $(current_dir)/files/guestbook.conf.in  $(target_dir)/etc/$(conf_name).conf

[remove]
# Starts with a setting without a default.
RmDir     $(web_root)/guestbook     -         use_web  true
# Takes from a system directory.
RmFile    /usr/*.guestbook          -         use_web  true
RmDir     $(target_dir)/*           data

# Not in the question file.
[clear]
RFile     $(target_dir)/data/entries.txt  entries
