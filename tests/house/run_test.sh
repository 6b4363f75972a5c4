#!/bin/bash
# run_test.sh ROOT: what ./run starts, and when it builds. The build and the programs are stand-ins that write down how they were called.
root=$1
. "$root/tests/house/check.sh"
unset DISPLAY WAYLAND_DISPLAY

house="$scratch/a house"
mkdir -p "$house"/{zorbase,zorimage,orvcore,orvgui,app,data/samples,cmake,tools}
touch "$house"/{CMakeLists.txt,CMakePresets.json,packages.txt}
cp "$root/run" "$house"
cat >"$house/tools/build" <<'END'
#!/bin/bash
here=$(dirname "$(readlink -f "$0")")/..
echo "build $*" >>"$here/calls"
[ -e "$here/broken" ] && exit 1
mkdir -p "$here/build/release/bin"
for program in orvane orvane-cli; do
    printf '#!/bin/bash\nprintf "%%s|" %s "$@"\nexit ${CODE:-0}\n' $program >"$here/build/release/bin/$program"
    chmod +x "$here/build/release/bin/$program"
done
END
chmod +x "$house/tools/build"
builds() { wc -l <"$house/calls"; }

work="$scratch/work"
mkdir "$work"
cd "$work" || exit 1
echo x >'a b.jpg'
echo x >./-v.png

expect 'first start' "orvane-cli|report|a b.jpg|--output|$work/a b-report.html|" "$("$house/run" 'a b.jpg')"
expect 'what is built' 'build release orvane orvane-cli data' "$(cat "$house/calls")"
expect 'a name with a dash' "orvane-cli|report|./-v.png|a b.jpg|--output|$work/-v-report.html|" "$("$house/run" -v.png 'a b.jpg')"
expect 'with a display' 'orvane|a b.jpg|' "$(DISPLAY=:1 "$house/run" 'a b.jpg')"
expect 'second starts build nothing' 1 "$(builds)"
samples="$house/data/samples"
expect 'no file' "orvane|$samples/coffee-edited.jpg|$samples/coffee.jpg|" "$(WAYLAND_DISPLAY=w "$house/run")"
CODE=3 "$house/run" 'a b.jpg' >/dev/null
expect "the program's exit code" 3 $?

sleep 0.02
touch "$house/orvcore/new.cpp"
"$house/run" 'a b.jpg' >/dev/null
expect 'a new source is built' 2 "$(builds)"
sleep 0.02
rm "$house/orvcore/new.cpp"
touch "$house/broken"
expect 'a build that fails starts nothing' '' "$("$house/run" 'a b.jpg')"
"$house/run" 'a b.jpg' >/dev/null
expect 'its exit code' 1 $?
expect 'it is tried at every start' 4 "$(builds)"
rm "$house/broken"
mv "$house" "$scratch/moved"
house="$scratch/moved"
"$house/run" 'a b.jpg' >/dev/null
expect 'a moved folder is built again' 5 "$(builds)"

expect 'a missing file' 'none.jpg: no file that can be read' "$("$house/run" none.jpg 2>&1)"
ln -s 'a b.jpg' 'a b-report.html'
"$house/run" 'a b.jpg' >/dev/null 2>&1
expect 'never over the evidence' 1 $?
finish
