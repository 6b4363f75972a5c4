# What the tests of the commands share: a scratch folder that goes away, and checks that say what failed.
set -u
scratch=$(mktemp -d) || exit 1
trap 'rm -rf "$scratch"' EXIT
failures=0

# expect WHAT WANTED FOUND
expect() {
    [ "$2" = "$3" ] && return
    printf '%s:\n  wanted: %s\n  found:  %s\n' "$1" "$2" "$3"
    failures=$((failures + 1))
}

finish() {
    [ $failures -eq 0 ]
    exit
}
