#!/bin/bash
# package_test.sh ROOT BUILD: the Debian package holds the program, says what it needs, and works where it is unpacked; manual pages,
# changelog and file type agree with the program.
root=$1
build=$2
. "$root/tests/house/check.sh"
export ORVANE_DOCUMENTS=$scratch/documents
unset ORVANE_DATA
holds() { case $2 in *"$1"*) echo yes ;; *) echo no ;; esac; }

cpack --config "$build/CPackConfig.cmake" -B "$scratch/made" >"$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }
package=$(echo "$scratch"/made/*.deb)
expect 'its name' "orvane_0.1.0_$(dpkg --print-architecture).deb" "$(basename "$package")"
needs=$(dpkg-deb -f "$package" Depends)
for library in libwxgtk3.2-1 libopencv-core406 libexiv2-27 libjpeg62-turbo libpango-1.0-0 libcairo2 librsvg2-2 libqpdf29 codeblocks-contrib; do
    expect "needs $library" yes "$(holds "$library" "$needs")"
done
listing=$(dpkg-deb -c "$package")
expect 'everything belongs to root' '' "$(awk '$2 != "root/root"' <<<"$listing")"
expect 'nobody else may write' '' "$(awk '$1 ~ /^[-d].......w/' <<<"$listing")"
expect 'nothing outside /usr' '' "$(awk '{print $6}' <<<"$listing" | grep -v '^\./\(usr/.*\)\?$')"

dpkg-deb -x "$package" "$scratch/unpacked"
tree=$scratch/unpacked/usr
for file in bin/orvane bin/orvane-cli share/applications/orvane.desktop share/mime/packages/orvane.xml share/man/man1/orvane.1.gz \
            share/man/man1/orvane-cli.1.gz share/doc/orvane/changelog.gz share/doc/orvane/copyright share/doc/orvane/dependencies.md \
            share/orvane/docs/en/orvane.pdf share/orvane/selftest/answers.tsv share/orvane/methods.tsv \
            share/icons/hicolor/48x48/apps/orvane.png; do
    expect "$file" yes "$([ -f "$tree/$file" ] && echo yes || echo no)"
done
expect 'the desktop file' '' "$(desktop-file-validate "$tree/share/applications/orvane.desktop" 2>&1)"

cp -r "$tree/share/mime" "$scratch/mime"
update-mime-database "$scratch/mime" 2>"$scratch/log"
expect 'a project is known by its name' '50:application/x-orvane-project:*.zop' "$(grep zop "$scratch/mime/globs2")"
expect 'and opened with the program' yes "$(holds 'application/x-orvane-project' "$(grep MimeType "$tree/share/applications/orvane.desktop")")"

cli=$tree/bin/orvane-cli
version=$("$cli" --version 2>"$scratch/log")
expect 'it starts' 'Orvane 0.1.0' "$(head -1 <<<"$version")"
for library in JPEG OpenCV Exiv2 QPDF curl OpenSSL SQLite zlib Pango cairo librsvg wxWidgets; do
    expect "--version tells that of $library" 1 "$(grep -c "^  $library [0-9l][^ ]*\( when built\)\?$" <<<"$version")"
done
expect 'the window tells the same' "$version" "$("$tree/bin/orvane" --version)"

for page in orvane orvane-cli; do
    expect "faults in the page of $page" '' "$(LC_ALL=C.UTF-8 MANROFFSEQ= man --warnings -E UTF-8 -l -Tutf8 -Z "$tree/share/man/man1/$page.1.gz" 2>&1 >/dev/null)"
done
manual=$(man -E UTF-8 -l "$tree/share/man/man1/orvane-cli.1.gz" 2>/dev/null | sed 's/.\x08//g')
for command in $("$cli" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p'); do
    expect "the manual page names the command $command" yes "$(grep -q "^ *$command\b" <<<"$manual" && echo yes || echo no)"
done

# Whose results changed stands in the changelog.
changes=$(zcat "$tree/share/doc/orvane/changelog.gz")
expect 'the changelog is one' 0.1.0 "$(dpkg-parsechangelog -l "$root/CHANGELOG" -S Version 2>&1)"
expect 'filters whose change of version the changelog does not name' '' \
    "$("$cli" filters | sed -n 's/^\([a-z0-9-]*\)\t.*\tversion \([0-9]*\)$/\1 \2/p' | while read -r filter number; do
        [ "$number" -gt 1 ] && ! grep -q "^ *- $filter $number: " <<<"$changes" && echo "$filter $number"
    done)"
expect 'there are filters with more than one version' yes "$("$cli" filters | grep -q 'version [2-9]' && echo yes || echo no)"

# Every library that the build asks for stands in the list of dependencies.
for package in $(sed 's/#.*//' "$root/packages.txt" | grep '^lib.*-dev' | grep -v -e gtest -e gmock -e benchmark); do
    name=$(sed -e 's/^lib//' -e 's/^wxgtk/wxwidgets/' -e 's/-dev$//' -e 's/62-turbo//' -e 's/0-$//' <<<"$package" | tr -d '0-9.-' | cut -c1-4)
    expect "the list of dependencies names $package" yes "$(tr -d ' .-' <"$root/docs/dependencies.md" | grep -qi "$name" && echo yes || echo no)"
done

if command -v lintian >/dev/null; then
    expect 'lintian' '' "$(lintian --allow-root --fail-on error,warning --no-tag-display-limit "$package" 2>&1 | grep '^[EW]:')"
    expect 'overrides' 1 "$(grep -vc '^#' "$tree/share/lintian/overrides/orvane")"
fi
finish
