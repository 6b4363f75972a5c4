#!/bin/bash
# rules_test.sh ROOT: the manual lists every rule of consistency, by its title.
. "$(dirname "$0")/check.sh"
cd "$1" || exit 1

sed -nE 's/^ *\{"[a-z-]+", "([^"]+)",.*/\1/p' orvcore/formats/consistency/consistencyrules.cpp | sort >"$scratch/rules"
expect "The rules are found" yes "$([ "$(wc -l <"$scratch/rules")" -ge 30 ] && echo yes || echo no)"
expect "Every rule's identifier has a title" "$(grep -cE '^ *rules::|[, ]rules::[A-Z]' orvcore/formats/consistency/consistencyrules.cpp)" \
    "$(wc -l <"$scratch/rules")"
sed -nE 's/^\| ([^|]+)\|.*/\1/p' data/docs/en/manual.txt | sort >"$scratch/manual"
expect "The manual has all of them" "" "$(comm -23 "$scratch/rules" "$scratch/manual")"
finish
