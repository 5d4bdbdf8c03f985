#!/bin/sh
# Adds the posted signature (fields "name" and "text" of a form) to the
# guestbook, unless it holds a refused word, then shows the guestbook.
. "$(dirname "$0")/gb-where"
. "$conf"
form=$(head -c "${CONTENT_LENGTH:-0}")
# One field of the form, decoded as far as a guestbook needs: "+" is a
# blank, other escapes are dropped, and so are line breaks.
field() {
  printf '%s\n' "$form" | tr '&' '\n' | sed -n "s/^$1=//p" |
    sed 's/+/ /g; s/%[0-9A-Fa-f][0-9A-Fa-f]//g' | tr -d '\r\n'
}
name=$(field name)
text=$(field text)
if [ -n "$name" ] && [ -n "$text" ] &&
   ! printf '%s %s\n' "$name" "$text" | grep -qiwf "$refused"; then
  printf '%s: %s\n' "$name" "$text" >> "$entries"
  case "$log" in /*) ;; *) log="$data/$log" ;; esac
  printf '%s %s\n' "$(date '+%Y-%m-%d %H:%M')" "$name" >> "$log"
  "$notify" "$name" "$text" || true
fi
exec "$(dirname "$0")/gb-list.cgi"
