#pragma once

// The style sheet that every page of ours begins with: colours, in a light and a dark scheme, and how text, tables and marks look (class
// "odd" for what stands out, "note" for what is doubtful: a sign goes with the colour, and is not part of the text). Each cell keeps its
// writing direction to itself. ASCII, without "<".
inline constexpr const char* kPageStyle =
    R"(:root{color-scheme:light dark;--ink:#1c2127;--page:#fff;--line:#d9dde3;--head:#f2f4f7;--band:#fafbfc;--quiet:#5b6470;--link:#1f5fa3;--odd:#b3261e;--note:#8a4b00}
@media screen and (prefers-color-scheme:dark){:root{--ink:#e3e6ea;--page:#16191d;--line:#3a414a;--head:#242a31;--band:#1b2025;--quiet:#a3acb8;--link:#8ab4f8;--odd:#ff8a80;--note:#ffb74d}}
body{font:15px/1.45 sans-serif;color:var(--ink);background:var(--page)}
p{overflow-wrap:anywhere;unicode-bidi:isolate}
table{border-collapse:collapse}
th,td{border:1px solid var(--line);padding:4px 8px;text-align:left;vertical-align:top;unicode-bidi:isolate}
th{background:var(--head);font-weight:600}
td{font-family:"DejaVu Sans Mono",monospace;font-size:13px;white-space:pre-wrap}
.quiet{color:var(--quiet)}a{color:var(--link)}
.odd{color:var(--odd)}td.odd::before{content:"! "}
.note{color:var(--note)}td.note::before{content:"? "}
)";
