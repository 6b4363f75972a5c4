#!/bin/bash
# cli_test.sh ROOT PROGRAM: the program without a display: exit codes, what it prints, what it writes, and what it never touches.
root=$1
cli=$2
. "$root/tests/house/check.sh"
export ORVANE_DOCUMENTS=$scratch/documents

folder="$scratch/case 1"
mkdir -p "$folder/below"
cp "$root/data/samples/coffee.jpg" "$folder/a.jpg"
cp "$root/data/samples/coffee-edited.jpg" "$folder/=b\$(touch x).jpg"
: >"$folder/empty.jpg"
ln -s nowhere "$folder/gone.jpg"
printf 'not a picture' >"$folder/below/c.txt"
state() { (cd "$folder" && find . -printf '%p %s %T@ %m\n' | sort && find . -type f -exec sha256sum {} + | sort); }
before=$(state)

# try WHAT CODE ARGUMENTS…: runs the program; $out and $err hold what it said.
try() {
    local what=$1 code=$2
    shift 2
    out=$("$cli" "$@" 2>"$scratch/err")
    expect "$what: exit code" "$code" $?
    err=$(cat "$scratch/err")
}
holds() { case $2 in *"$1"*) echo yes ;; *) echo no ;; esac; }
column() { head -1 <<<"$out" | tr '\t' '\n' | grep -nx "$1" | cut -d: -f1; }

try 'filters' 0 filters
expect 'the filters are listed' yes "$(holds $'file-format\t' "$out")"
try 'no subcommand' 106
try 'an unknown option' 109 batch --nonsense "$folder"

try 'analyse' 0 analyse "$folder/a.jpg"
expect 'analyse prints the hash' yes "$(holds "$(sha256sum <"$folder/a.jpg" | cut -d' ' -f1)" "$out")"
expect 'analyse says nothing else' '' "$err"
try 'analyse a file that is not there' 1 analyse "$folder/absent.jpg"
expect 'its name is told' yes "$(holds 'absent.jpg' "$err")"
expect 'and nothing printed' '' "$out"
try 'analyse with an unknown filter' 1 analyse "$folder/a.jpg" -f nonsense
expect 'the filter is told' yes "$(holds '"nonsense"' "$err")"
try 'analyse with a setting that does not fit' 1 analyse "$folder/a.jpg" -f error-level -s quality=many
expect 'the setting is told' yes "$(holds '"quality=many"' "$err")"

try 'signatures of a folder' 0 signatures "$scratch/known.db" --add "$folder"
expect 'what cannot be collected is counted' yes "$(holds 'left out: 2 that name no camera' "$out")"
try 'signatures exported' 0 signatures "$scratch/known.db" --export
expect 'only the labels: no camera is named' 1 "$(wc -l <<<"$out")"
try 'the cameras that come with the program' 0 signatures "$scratch/cameras.db" --import "$root/data/camera-signatures.tsv"
expect 'all of them are taken in' '36 lines taken in, 0 are no records' "$out"
try 'a picture is no collection' 1 signatures "$folder/a.jpg" --export
expect 'the refusal names it' yes "$(holds 'a.jpg' "$err")"

printf 'GIF89a\1\0\1\0' >"$scratch/cut.gif"
for filter in error-level histogram visual-inspection; do
    try "$filter of what cannot be decoded" 3 analyse "$scratch/cut.gif" -f $filter
    expect 'prints nothing' '' "$out"
done
try 'analyse without a name' 105 analyse ''
try 'report without a name' 105 report "$folder/a.jpg" -o ''
mkfifo "$scratch/pipe"
ln -s "$scratch/elsewhere.html" "$scratch/link.html"
for target in pipe link.html; do
    try "report in the place of a $target" 1 report "$folder/a.jpg" -o "$scratch/$target"
    expect 'is refused' yes "$(holds "$target" "$err")"
done
expect 'the pipe is still one' yes "$([ -p "$scratch/pipe" ] && [ -L "$scratch/link.html" ] && echo yes || echo no)"

try 'report' 0 report "$folder/a.jpg" -o "$scratch/out/report.html"
expect 'report tells where it is' "$scratch/out/report.html" "$out"
expect 'the page is whole' '</html>' "$(tail -1 "$scratch/out/report.html")"
try 'report onto the evidence' 1 report "$folder/a.jpg" -o "$folder/a.jpg"
expect 'the refusal names it' yes "$(holds 'a.jpg' "$err")"

try 'batch' 0 batch "$folder"
expect 'batch: a row for each file' 5 "$(wc -l <<<"$out")"
expect 'a name is no formula' yes "$(holds $'\n\'=b$(touch x).jpg\t' "$out")"
expect 'the row of an unreadable file says why' yes "$(holds 'No such file' "$(grep gone.jpg <<<"$out")")"
expect 'pictures stay out' '' "$(column Thumbnail)"
expect 'no hash but SHA-256' '' "$(column MD5)"
try 'batch with everything' 0 batch -r --hashes "$folder"
expect 'subfolders are looked into' yes "$(holds "$folder/below/c.txt" "$out")"
expect 'MD5' "$(md5sum <"$folder/a.jpg" | cut -d' ' -f1)" "$(grep "/a.jpg" <<<"$out" | cut -f"$(column MD5)")"
try 'batch against a photograph' 0 batch "$folder" -c "$folder/a.jpg" -o "$scratch/out/compared.tsv"
expect 'it prints nothing' '' "$out"
expect 'the evidence comes first' $'0\ta.jpg\tThe evidence.' "$(sed -n 2p "$scratch/out/compared.tsv" | cut -f1-3)"
try 'batch as a page' 0 batch "$folder" -o "$scratch/out/table.html"
expect 'the page and its style' 'style.css table.html' "$(cd "$scratch/out" && ls style.css table.html | xargs)"
try 'batch onto a file of the folder' 1 batch "$folder" -o "$folder/below/../a.jpg"
expect 'the refusal names it, too' yes "$(holds 'a.jpg' "$err")"
try 'batch of a folder that is not there' 1 batch "$scratch/absent"
expect 'the folder is named' yes "$(holds "$scratch/absent" "$err")"
try 'batch into a folder that cannot be' 1 batch "$folder" -o "$folder/a.jpg/t.tsv"
expect 'that one, too' yes "$(holds 'a.jpg' "$err")"
"$cli" batch "$folder" >/dev/full 2>"$scratch/err"
expect 'a full disk behind standard output' 1 $?
expect 'is told' yes "$(holds 'standard output' "$(cat "$scratch/err")")"

mkdir "$scratch/many"
(cd "$scratch/many" && head -c 4000000 /dev/zero >0 && for i in $(seq 1500); do ln 0 $i; done)
timeout --preserve-status -s INT 1.5 "$cli" batch --hashes "$scratch/many" -o "$scratch/out/many.tsv" 2>"$scratch/err"
expect 'an interrupt ends it' 1 $?
expect 'and leaves nothing' no "$([ -e "$scratch/out/many.tsv" ] && echo yes || echo no)"

# The logs of all that was run above are one chain.
logs=$ORVANE_DOCUMENTS/logs
last=$(ls "$logs" | tail -1)
try 'logs that nobody touched' 0 verify-log
expect 'each one is named' "$(ls "$logs" | wc -l)" "$(grep -c '^good   orvane-.*: [0-9]* lines' <<<"$out")"
try 'a report states where the log stood' 0 verify-log "$scratch/out/report.html"
expect 'and it stands there' yes "$(holds 'stated: orvane-' "$out")"
try 'a page that states nothing' 1 verify-log "$scratch/out/table.html"
expect 'is told' yes "$(holds 'table.html' "$err")"
# spoilt WHAT FINDING COMMAND…: a copy of the logs in which the command has run; $log is the one that the report names.
log=$(grep -o 'orvane-[0-9]*\.log' "$scratch/out/report.html" | head -1)
spoilt() {
    local what=$1 finding=$2
    shift 2
    rm -rf "$scratch/spoilt" && cp -r "$logs" "$scratch/spoilt"
    (cd "$scratch/spoilt" && "$@")
    try "$what" 1 verify-log --folder "$scratch/spoilt" "$scratch/out/report.html"
    expect "$what: the finding" yes "$(holds "$finding" "$(grep '^NOT' <<<"$out")")"
}
spoilt 'a letter was changed' "$log" sed -i '2s/e/E/' "$log"
spoilt 'a line was taken out' "$log" sed -i '2d' "$log"
spoilt 'the log was cut off' "stated: $log" sed -i '2,$d' "$log"
spoilt 'a log is missing' "$log is missing" rm "$log"
spoilt 'all of them are missing' 'there is no log in' sh -c 'rm ./*'

# Two answers of which one is wrong, and the settings of a filter that is not there.
mkdir "$scratch/pictures"
cp "$root/data/samples/coffee.jpg" "$scratch/pictures/"
printf 'file-format\tcoffee.jpg\t\t\tout:Format By Content\tis\tJPEG\tit is one\n' >"$scratch/pictures/answers.tsv"
try 'a self-test whose answers are not all there' 1 selftest --pictures "$scratch/pictures"
expect 'what is tested is told' yes "$(holds $'pass\tfile-format\tcoffee.jpg\t' "$out")"
expect 'what is not, too' yes "$(holds $'FAIL\terror-level\tno known answer' "$out")"
expect 'its outcome is not kept' no "$([ -e "$ORVANE_DOCUMENTS/selftest.json" ] && echo yes || echo no)"
try 'a self-test without answers' 1 selftest --pictures "$folder"
expect 'names the list' yes "$(holds 'answers.tsv' "$err")"

expect 'the folder is as it was' "$before" "$(state)"
finish
