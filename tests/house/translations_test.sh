#!/bin/bash
# translations_test.sh ROOT: every text of the windows passes through the lookup, and every catalogue holds all of them.
. "$(dirname "$0")/check.sh"
root=$1
cd "$root" || exit 1

"$root/tools/update-translations" "$scratch/all.pot"
expect 'texts are found' yes "$([ "$(grep -c '^msgid' "$scratch/all.pot")" -gt 400 ] && echo yes || echo no)"
for catalogue in data/locale/*.po; do
    msgcmp "$catalogue" "$scratch/all.pot" 2>"$scratch/compared"
    expect "$catalogue has every text" "" "$(head -20 "$scratch/compared")"
    expect "$catalogue: places for values agree" "" "$(msgfmt --check-format -o /dev/null "$catalogue" 2>&1)"
done

# Texts for the user that no lookup is asked about: quoted words that begin with a capital letter, or several words, outside of _(),
# wxTRANSLATE() and wxPLURAL(), of comments, and of what is never shown.
cat >"$scratch/find.py" <<'PYTHON'
import pathlib, re, sys

token = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"\((?s:.*?)\)"|"(?:[^"\\\n]|\\.)*"|\'(?:[^\'\\\n]|\\.)+\'|[A-Za-z_][A-Za-z_0-9:]*|\S', re.S)
lookups = {"_", "wxTRANSLATE", "wxPLURAL"}
# What these get is not shown, or is a text of the core's, or is the program's name.
silent = {"wxCHECK_MSG", "wxCHECK_RET", "wxFAIL_MSG", "wxFAIL_COND_MSG", "wxASSERT_MSG", "ZOR_THROW", "CheckCanvas", "Canvas", "fputs",
          "printf", "std::printf", "std::fputs", "SetAppName", "static_assert", "getenv", "setenv", "NoteExport", "NoteExported",
          "Format", "wxString::Format", "FromUTF8", "wxString::FromUTF8", "StartsWith", "EndsWith", "Replace", "Find"}
shown = re.compile(r'^(?:[A-Z][a-z]+(?:[ .,:?!]|$)|[A-Za-z]+ [a-z]+ )')
kept = set(pathlib.Path(sys.argv[1]).read_text().split("\n"))

for path in sorted([*pathlib.Path("orvgui").rglob("*.cpp"), *pathlib.Path("orvgui").rglob("*.h"),
                    *pathlib.Path("zorbase/gui").rglob("*.cpp"), pathlib.Path("app/main.cpp")]):
    text = path.read_text()
    calls, last, before = [], "", ""
    for found in token.finditer(text):
        word = found.group(0)
        if word.startswith("//") or word.startswith("/*"):
            continue
        if word == "(":
            calls.append(last)
        elif word == ")" and calls:
            calls.pop()
        elif word.startswith('"'):
            line = text.rfind("\n", 0, found.start()) + 1
            isDirective = text[line:found.start()].lstrip().startswith("#") or before == "extern"
            asked = any(call in lookups for call in calls) or (calls and calls[-1] in silent)
            body = word[1:-1]
            if not isDirective and not asked and shown.match(body) and body not in kept:
                print(f"{path}:{text.count(chr(10), 0, found.start()) + 1}: {body}")
        before, last = last, word
PYTHON
# Names, formats and what only a developer sees.
cat >"$scratch/kept" <<'KEPT'
Opens the forensic workstation, with these files when they are given.\n
Apple QuickTime not installed or not supporting this video format.
Internal error:\n
Excel.Application
Visible
Workbooks.Open
Luma only (
Luma only
Luma and Chroma (
Flickr
Google
Any Software
Any QT
Number
Histogram
Line
Points
Main Window
Folder
Filters
Apache 2.0
Boost
Boost Software License 1.0
JSON for Modern C++
KEPT
expect 'every text passes through the lookup' "" "$(python3 "$scratch/find.py" "$scratch/kept")"

# The finder finds.
mkdir -p "$scratch/tree/orvgui" "$scratch/tree/zorbase/gui" "$scratch/tree/app"
printf '%s\n' 'f(_("Good one")); g(wxTRANSLATE("Good " "too")); // "Not Counted"' \
    'h(x, "Forgotten text"); i("name"); j("two words here"); k(_("A") + "Also ");' >"$scratch/tree/orvgui/a.cpp"
: >"$scratch/tree/app/main.cpp"
expect 'a text that was forgotten is found' "orvgui/a.cpp:2: Forgotten text|orvgui/a.cpp:2: two words here|orvgui/a.cpp:2: Also |" \
    "$(cd "$scratch/tree" && python3 "$scratch/find.py" "$scratch/kept" | tr '\n' '|')"
finish
