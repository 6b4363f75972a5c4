#include "tests/orvgui/drawing.h"

#include <wx/dcscreen.h>
#include <wx/dcsvg.h>

#include <cmath>
#include <regex>
#include <sstream>

#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

std::string Find(const std::string& text, const char* pattern) {
    std::smatch match;
    return std::regex_search(text, match, std::regex(pattern)) ? match[1].str() : std::string();
}

int Number(const std::string& line, const char* attribute) {
    const std::string text = Find(line, (" " + std::string(attribute) + "=\"(-?[0-9.]+)").c_str());
    return text.empty() ? 0 : static_cast<int>(std::lround(std::stod(text)));
}

std::string Place(const std::string& line, const char* x, const char* y) {
    return std::to_string(Number(line, x)) + "," + std::to_string(Number(line, y));
}

std::string Size(const std::string& line) {
    return std::to_string(Number(line, "width")) + "x" + std::to_string(Number(line, "height"));
}

std::string Unescape(std::string text) {
    for (const auto& [from, to] : {std::pair{"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&amp;", "&"}})
        for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + 1))
            text.replace(at, std::string(from).length(), to);
    return text;
}

std::string Line(const std::string& path, const std::string& line, const std::string& pen) {
    static const std::regex corner("[ML](-?[0-9.]+) (-?[0-9.]+)");
    std::vector<std::string> corners;
    for (std::sregex_iterator it(path.begin(), path.end(), corner), end; it != end; ++it)
        corners.push_back((*it)[1].str() + "," + (*it)[2].str());
    if (corners.size() == 2 && corners[0] == corners[1]) return "point " + corners[0] + " " + pen;
    std::string text = "line";
    for (const std::string& place : corners) text += " " + place;
    return text + " " + pen + (line.find("dasharray") == std::string::npos ? "" : " dashed");
}

// The upper left corner of a text whose base line is told.
std::string TextPlace(const std::string& line, const wxString& words, const wxFont& font) {
    wxScreenDC screen;
    screen.SetFont(font);
    int width = 0;
    int height = 0;
    int descent = 0;
    screen.GetTextExtent(words, &width, &height, &descent);
    return std::to_string(Number(line, "x")) + "," + std::to_string(Number(line, "y") - height + descent);
}

}  // namespace

std::vector<std::string> Drawn(const std::function<void(wxDC&)>& draw, const wxFont& font, wxSize size) {
    const TemporaryFolder folder;
    const std::string path = folder / "drawing.svg";
    {
        wxSVGFileDC dc(PathToWx(path), size.x, size.y);
        draw(dc);
    }
    std::vector<std::string> items;
    std::string pen;
    std::string fill;
    std::istringstream lines(ReadFile(path));
    for (std::string line; std::getline(lines, line);) {
        if (line.find("stroke-opacity") != std::string::npos && line.find("<g ") != std::string::npos) {
            pen = line.find("stroke-opacity:0.0;") != std::string::npos
                      ? "no pen"
                      : Find(line, "stroke:(#[0-9A-F]+)") + " " + Find(line, "stroke-width:([0-9]+)");
            fill = line.find("fill-opacity:0.0;") != std::string::npos
                       ? "no fill"
                       : "fill " + Find(line, "fill:(#[0-9A-F]+)");
        } else if (const std::string points = Find(line, "<path d=\"([^\"]*)\""); !points.empty()) {
            items.push_back(Line(points, line, pen));
        } else if (line.find("<rect id=") != std::string::npos) {
            items.push_back("clip " + Place(line, "x", "y") + " " + Size(line));
        } else if (line.find("<rect ") != std::string::npos) {
            items.push_back("rect " + Place(line, "x", "y") + " " + Size(line) + " " + pen + " " + fill);
        } else if (line.find("<ellipse ") != std::string::npos) {
            items.push_back("circle " + Place(line, "cx", "cy") + " " + std::to_string(Number(line, "rx")) +
                            " " + pen);
        } else if (line.find("<image ") != std::string::npos) {
            items.push_back("image " + Place(line, "x", "y") + " " + Size(line));
        } else if (line.find("<text ") != std::string::npos) {
            const std::string words = Unescape(Find(line, ">([^<]*)</text>"));
            items.push_back("text " + TextPlace(line, ToWx(words), font) + " " +
                            Find(line, "fill:(#[0-9A-F]+)") + " " + words);
        }
    }
    return items;
}

std::vector<std::string> Only(const std::vector<std::string>& items, const std::string& word) {
    std::vector<std::string> found;
    for (const std::string& item : items)
        if (item.starts_with(word)) found.push_back(item);
    return found;
}
