#!/bin/bash
# outputs_test.sh SOURCE: every output that a filter sets by name is one that it lists. A branch that no test reaches is met by a user
# otherwise.
set -u
cd "$1" || exit 1
failed=0
checked=0
for file in orvcore/filters/*.cpp; do
    text=$(tr '\n' ' ' <"$file")
    [[ $text == *Describe\(* ]] || continue  # what filters share sets the outputs of several
    listed=$(grep -oE 'Output\( *[A-Za-z0-9:]+, *"[A-Za-z0-9]+"' <<<"$text" | grep -oE '"[A-Za-z0-9]+"' | sort -u)
    used=$(grep -oE '\b([Ss]et|SetNumber|SetCount)\( *"[A-Za-z0-9]+"' <<<"$text" | grep -oE '"[A-Za-z0-9]+"' | sort -u)
    [[ $text == *AddNumber\(* ]] && used+=$'\n"numbers"'
    for name in $used; do
        checked=$((checked + 1))
        grep -qxF "$name" <<<"$listed" && continue
        echo "$file sets the output $name, which it does not list" >&2
        failed=1
    done
done
if [ "$checked" -lt 20 ]; then
    echo "only $checked outputs were found: the search no longer fits the sources" >&2
    failed=1
fi
exit $failed
