#include "orvcore/report/manualtext.h"

#include <algorithm>
#include <set>

#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

std::vector<std::string> LinesOf(const std::string& path) {
    return StringToVecString(ToValidUtf8(ReadFile(path)), "\n");
}

// A name of a file below the manual's folder, and nothing else.
bool IsPlainName(const std::string& name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-';
    });
}

class Writer {
  public:
    Writer(std::string folder, const std::vector<std::pair<std::string, std::string>>& filters)
        : m_folder(std::move(folder)), m_filters(filters) {}

    // Filters with a file of their own have their place there.
    void FindOwnFiles(const std::vector<std::string>& lines) {
        for (const std::string& line : lines)
            if (line.starts_with("@") && IsPlainName(line.substr(1))) m_placed.insert(line.substr(1));
    }
    void Add(const std::vector<std::string>& lines, bool mayInclude) {
        for (const std::string& line : lines) AddLine(line, mayInclude);
        Close();
    }
    const std::string& GetHtml() const { return m_html; }

  private:
    enum class Open { Nothing, Paragraph, List, Table, Command };

    void Close() {
        switch (m_open) {
            case Open::Nothing:
                break;
            case Open::Paragraph:
                m_html += "</p>\n";
                break;
            case Open::List:
                m_html += "</li></ul>\n";
                break;
            case Open::Table:
                m_html += "</table>\n";
                break;
            case Open::Command:
                m_html += "</pre>\n";
                break;
        }
        m_open = Open::Nothing;
    }
    void Begin(Open kind, const char* tag) {
        if (m_open == kind) return;
        Close();
        m_html += tag;
        m_open = kind;
    }
    // Anchors of the filters that this line names for the first time.
    std::string Anchors(const std::string& line) {
        std::string anchors;
        for (const auto& [id, name] : m_filters)
            if (line.find(name) != std::string::npos && m_placed.insert(id).second)
                anchors += "<a name=\"filter-" + EscapeHtml(id) + "\"></a>";
        return anchors;
    }
    void Heading(const char* tag, const std::string& text) {
        Close();
        const std::string anchors = Anchors(text);
        m_html += anchors + "<" + tag + ">" + EscapeHtml(text) + "</" + tag + ">\n";
    }
    void AddLine(const std::string& line, bool mayInclude) {
        if (Trim(line).empty()) return Close();
        if (line.starts_with("### ")) return Heading("h3", line.substr(4));
        if (line.starts_with("## ")) return Heading("h2", line.substr(3));
        if (line.starts_with("# ")) return Heading("h1", line.substr(2));
        if (line.starts_with("!")) return Close();
        if (line == "@rates") return Close();  // where they are measured, the report shows them
        if (line.starts_with("@") && mayInclude) return Include(line.substr(1));
        if (line.starts_with("=")) {
            Close();
            m_html += "<p><i>" + EscapeHtml(line.substr(1)) + "</i></p>\n";
        } else if (line.starts_with("-- ")) {
            m_html += " " + Anchors(line) + EscapeHtml(line.substr(3));
        } else if (line.starts_with("- ")) {
            if (m_open == Open::List) m_html += "</li>\n";
            Begin(Open::List, "<ul>\n");
            m_html += "<li>" + Anchors(line) + EscapeHtml(line.substr(2));
        } else if (line.starts_with("| ")) {
            Begin(Open::Table, "<table cellpadding=\"3\">\n");
            const std::size_t bar = line.find('|', 2);
            m_html += "<tr><td><tt>" + EscapeHtml(line.substr(2, bar == std::string::npos ? bar : bar - 2)) +
                      "</tt></td><td>" +
                      (bar == std::string::npos ? std::string() : EscapeHtml(line.substr(bar + 1))) +
                      "</td></tr>\n";
        } else if (line.starts_with(">")) {
            Begin(Open::Command, "<pre>");
            m_html += EscapeHtml(line.substr(1)) + "\n";
        } else {
            Begin(Open::Paragraph, "<p>");
            m_html += Anchors(line) + EscapeHtml(line) + " ";
        }
    }
    void Include(const std::string& id) {
        Close();
        if (!IsPlainName(id)) return;
        m_html += "<a name=\"filter-" + id + "\"></a>\n";
        const std::string path = PathJoin(PathJoin(m_folder, "filters"), id + ".txt");
        if (FileExists(path))
            Add(LinesOf(path), false);
        else
            m_html += "<p>The text on " + id + " is missing.</p>\n";
        const std::string figure = "figures/" + id + ".jpg";
        if (FileExists(PathJoin(m_folder, figure))) m_html += "<p><img src=\"" + figure + "\"></p>\n";
    }

    std::string m_folder;
    const std::vector<std::pair<std::string, std::string>>& m_filters;
    std::set<std::string> m_placed;
    std::string m_html;
    Open m_open = Open::Nothing;
};

}  // namespace

std::string ManualToHtml(const std::string& folder, const std::string& version,
                         const std::vector<std::pair<std::string, std::string>>& filters) {
    std::vector<std::string> lines = LinesOf(PathJoin(folder, "manual.txt"));
    for (std::string& line : lines)
        for (std::size_t at = line.find("@VERSION@"); at != std::string::npos; at = line.find("@VERSION@"))
            line.replace(at, 9, version);
    Writer writer(folder, filters);
    writer.FindOwnFiles(lines);
    writer.Add(lines, true);
    return "<html><body>\n" + writer.GetHtml() + "</body></html>\n";
}
