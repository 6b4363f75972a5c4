#!/bin/bash
# install_test.sh ROOT BUILD: the installed tree is complete, needs nothing of the build tree, and works after it was moved.
root=$1
build=$2
. "$root/tests/house/check.sh"

cmake --install "$build" --prefix "$scratch/first" >"$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }
mv "$scratch/first" "$scratch/second place"
tree="$scratch/second place"

for file in bin/orvane bin/orvane-cli share/orvane/img/open.png share/orvane/img/orvane.png share/orvane/docs/en/orvane.pdf \
            share/orvane/samples/coffee.jpg share/applications/orvane.desktop share/icons/hicolor/48x48/apps/orvane.png \
            share/icons/hicolor/scalable/apps/orvane.svg; do
    expect "$file" yes "$([ -f "$tree/$file" ] && echo yes || echo no)"
done
expect 'nothing else in the data folder' 'camera-signatures.tsv docs img methods.tsv samples selftest' "$(ls "$tree/share/orvane" | grep -v -e locale -e accuracy | xargs)"
expect 'desktop file' '' "$(desktop-file-validate "$tree/share/applications/orvane.desktop" 2>&1)"

for program in orvane orvane-cli; do
    expect "libraries of $program that are missing or in the build tree" '' \
        "$(ldd "$tree/bin/$program" | grep -e "not found" -e "=> $build/" -e "=> $root/")"
    expect "our libraries of $program" yes \
        "$(ldd "$tree/bin/$program" | grep -q "$tree/bin/\.\./lib.*liborvcore" && echo yes || echo no)"
done

export ORVANE_DOCUMENTS=$scratch/documents
unset ORVANE_DATA
cd "$scratch" || exit 1
"$tree/bin/orvane-cli" report "$tree/share/orvane/samples/coffee.jpg" --output "$scratch/report.html" >"$scratch/log" 2>&1
expect 'a report is made' 0 $?
sum=$(sha256sum <"$tree/share/orvane/samples/coffee.jpg" | cut -d' ' -f1)
expect 'it names the file by its hash' yes "$(grep -qi "$sum" "$scratch/report.html" && echo yes || echo no)"
finish
