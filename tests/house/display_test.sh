#!/bin/bash
# display_test.sh ROOT: with-display gives each command a managed display, folders of its own and its exit code back.
root=$1
. "$root/tests/house/check.sh"
with="$root/tests/support/with-display"

"$with" bash -c 'exit 7'
expect 'exit code' 7 $?
expect 'input and arguments' 'in|a b' "$(echo in | "$with" bash -c 'echo "$(cat)|$1"' _ 'a b')"
facts=$("$with" bash -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -c "window id"; echo "$DISPLAY|$HOME|$ORVANE_DOCUMENTS"')
expect 'a window manager answers' 1 "${facts%%$'\n'*}"
IFS='|' read -r display home documents <<<"${facts##*$'\n'}"
expect 'the home is gone afterwards' no "$([ -e "$home" ] && echo yes || echo no)"
expect 'the documents too' no "$([ -e "$documents" ] && echo yes || echo no)"
DISPLAY=$display xprop -root >/dev/null 2>&1
expect 'so is the display' 1 $?

# Two at once never meet.
"$with" bash -c 'echo $DISPLAY; sleep 1' >"$scratch/first" &
other=$("$with" bash -c 'echo $DISPLAY')
wait
expect 'displays of their own' no "$([ "$other" = "$(cat "$scratch/first")" ] && echo same || echo no)"
finish
