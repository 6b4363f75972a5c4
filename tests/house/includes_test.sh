#!/bin/bash
# includes_test.sh ROOT: no folder includes in a circle, libraries include downwards only, and the rooms of the window library
# only to the right: shell -> pages, dialogs -> viewer, tables, controls -> common.
. "$(dirname "$0")/check.sh"
cd "$1" || exit 1

# "FOLDER FOLDER INCLUDER -> INCLUDED" for every include from one folder of ours into another.
edges() {
    grep -rHoE --include='*.h' --include='*.cpp' '^ *#include "[^"]+"' "$@" |
        sed -nE 's|^([^:]+)/([^/:]+): *#include "(.+)/([^/"]+)"$|\1 \3 \1/\2 -> \3/\4|p' | awk '$1 != $2'
}
edges zorbase zorimage orvcore orvgui app >"$scratch/edges"
expect "The includes are found" yes "$([ "$(wc -l <"$scratch/edges")" -gt 300 ] && echo yes || echo no)"

cut -d' ' -f1,2 "$scratch/edges" | sort -u | tsort >/dev/null 2>"$scratch/circles"
expect "No folders include each other in a circle" "" "$(cat "$scratch/circles")"

awk '
    BEGIN {
        split("zorbase=0 zorimage=1 orvcore=2 zorbase/gui=3 orvgui=4 app=5", pairs, " ")
        for (i in pairs) { split(pairs[i], p, "="); level[p[1]] = p[2] }
        split("common=0 controls=1 tables=1 viewer=1 dialogs=2 pages=2 shell=3", pairs, " ")
        for (i in pairs) { split(pairs[i], p, "="); room[p[1]] = p[2] }
    }
    function Library(folder) {
        if (folder ~ /^zorbase\/gui/) return "zorbase/gui"
        split(folder, part, "/")
        return part[1]
    }
    {
        from = Library($1); to = Library($2)
        upwards = level[to] > level[from]
        if (from == "orvgui" && to == "orvgui") {
            a = substr($1, 8); b = substr($2, 8)
            upwards = !(a in room) || !(b in room) || room[b] > room[a] ||
                      (room[a] == room[b] && !(a == "controls" && b == "tables"))
        }
        if (upwards) print $3, $4, $5
    }' "$scratch/edges" | sort -u >"$scratch/upwards"
expect "Includes point downwards" "" "$(cat "$scratch/upwards")"
finish
