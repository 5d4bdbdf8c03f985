#!/bin/sh
# Tells how many signatures the guestbook holds, as plain text.
. "$(dirname "$0")/gb-where"
. "$conf"
printf 'Content-Type: text/plain\r\n\r\n'
if [ -f "$entries" ]; then wc -l < "$entries"; else echo 0; fi
