#pragma once

#include <string>
#include <utility>
#include <vector>

// The manual for a help window, of the same source as the printed one. Any thread.

// The manual's plain text as a page of simple HTML (headings, lists, tables, fixed-pitch lines, the filters' figures; no scripts or
// style sheets).
// Lines are marked at their beginning: "# " title, "=" below it, "## " and "### " headings, "- " and "--" list, "| key|meaning" table,
// ">" command, "!" drawing (left out), "@ID" the text of the file filters/ID.txt and
// below it the picture figures/ID.jpg, where there is one. A line that goes on joins its paragraph.
// filters: id and name of each. The place of a filter in the manual gets the anchor "filter-ID": its own file, otherwise the first line
// that names it. "@VERSION@" becomes version.
// folder: that of manual.txt. Throws ZorException (File) when there is no manual; a file that is missing is named in the text.
std::string ManualToHtml(const std::string& folder, const std::string& version,
                         const std::vector<std::pair<std::string, std::string>>& filters);
