#!/bin/sh
# Shows every signature of the guestbook as a web page, newest first.
. "$(dirname "$0")/gb-where"
. "$conf"
printf 'Content-Type: text/html\r\n\r\n'
printf '<!DOCTYPE html>\n<html><head><title>%s</title>' "$title"
printf '<link rel="stylesheet" href="/guestbook/style.css"></head><body>\n'
printf '<h1>%s</h1>\n<ul>\n' "$title"
tac "$entries" 2>/dev/null | sed 's/&/\&amp;/g; s/</\&lt;/g; s/>/\&gt;/g; s/^/<li>/; s/$/<\/li>/'
printf '</ul>\n<p><a href="/guestbook/index.html">Sign it</a></p>\n</body></html>\n'
