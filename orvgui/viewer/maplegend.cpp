#include "orvgui/viewer/maplegend.h"

#include <wx/dcbuffer.h>
#include <wx/settings.h>

#include <algorithm>

#include "orvcore/filter/mapimage.h"
#include "orvgui/viewer/mapview.h"
#include "zorbase/text.h"

namespace {

constexpr int kBarHeight = 14;
constexpr int kTick = 4;
constexpr int kMargin = 6;
constexpr int kMostClasses = 12;

wxColour ToWxColour(const MapColour& colour) {
    return {colour[2], colour[1], colour[0]};
}

}  // namespace

MapLegend::MapLegend(wxWindow* parent) : wxPanel(parent, wxID_ANY) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    Bind(wxEVT_PAINT, [this](wxPaintEvent&) {
        wxAutoBufferedPaintDC dc(this);
        Draw(dc, GetClientSize());
    });
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        Refresh();
        event.Skip();
    });
}

int MapLegend::CountClasses() const {
    return std::min(static_cast<int>(m_map.classNames.size()), kMostClasses);
}

void MapLegend::SetMap(const OrvMap& map) {
    m_map = map;
    m_isColourPicture = map.values.channels() == 3;
    m_map.values = cv::Mat();  // the legend needs none of them
    m_map.mask = cv::Mat();
    m_hasMap = true;
    const int line = GetCharHeight() + 2;
    const bool hasClasses = map.scale == OrvMapScale::Classes;
    const int lines = hasClasses ? CountClasses() : 2;
    SetMinSize(wxSize(-1, 2 * kMargin + (hasClasses ? 0 : kBarHeight + 2 * kTick) + lines * line));
    Refresh();
}

void MapLegend::Draw(wxDC& dc, const wxSize& size) const {
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.SetBrush(*wxWHITE_BRUSH);
    dc.DrawRectangle(wxRect(size));
    if (!m_hasMap) return;
    dc.SetFont(GetFont());
    dc.SetTextForeground(*wxBLACK);
    const int line = GetCharHeight() + 2;
    const MapColours colours = ColoursOfMap(m_map);
    if (m_map.scale == OrvMapScale::Classes) {
        for (int i = 0; i < CountClasses(); ++i) {
            const int y = kMargin + i * line;
            dc.SetPen(*wxBLACK_PEN);
            dc.SetBrush(wxBrush(ToWxColour(colours[static_cast<std::size_t>(i)])));
            dc.DrawRectangle(kMargin, y + 1, line - 3, line - 3);
            dc.DrawText(ToWx(m_map.classNames[static_cast<std::size_t>(i)]), kMargin + line, y);
        }
        return;
    }
    const int left = kMargin;
    const int width = std::max(size.x - 2 * kMargin, 1);
    // Above the bar the threshold, below it the numbers.
    const int barTop = kMargin + line + kTick;
    for (int x = 0; x < width; ++x) {
        const int index = width == 1 ? 0 : (x * 255 + (width - 1) / 2) / (width - 1);
        const auto level = static_cast<unsigned char>(index);
        dc.SetPen(wxPen(m_isColourPicture ? wxColour(level, level, level)
                                          : ToWxColour(colours[static_cast<std::size_t>(index)])));
        dc.DrawLine(left + x, barTop, left + x, barTop + kBarHeight);
    }
    dc.SetPen(*wxBLACK_PEN);
    int freeFrom = 0;  // numbers that would run into the one before are left out
    for (const LegendMark& mark : LegendMarks(m_map)) {
        const int x = left + static_cast<int>(mark.place * (width - 1));
        const int textWidth = dc.GetTextExtent(mark.text).x;
        const int textX = std::clamp(x - textWidth / 2, 0, std::max(size.x - textWidth, 0));
        if (mark.isThreshold) {
            dc.DrawLine(x, barTop - kTick, x, barTop + kBarHeight);
            dc.DrawText(mark.text, textX, kMargin);
        } else if (textX >= freeFrom) {
            dc.DrawLine(x, barTop + kBarHeight, x, barTop + kBarHeight + kTick);
            dc.DrawText(mark.text, textX, barTop + kBarHeight + kTick);
            freeFrom = textX + textWidth + kMargin;
        }
    }
}
