#pragma once

#include <wx/panel.h>

#include "orvcore/filter/map.h"
#include "orvgui/common/orvgui.h"

// The scale of a map: its colours from the low end to the high one with numbers, the threshold marked, or its classes by name. Draws
// itself, on a light ground in every theme. GUI thread.
class ORVGUI_API MapLegend : public wxPanel {
  public:
    explicit MapLegend(wxWindow* parent);

    // With its range as it is drawn. Changes the least height.
    void SetMap(const OrvMap& map);
    void Draw(wxDC& dc, const wxSize& size) const;

  private:
    int CountClasses() const;

    OrvMap m_map;
    bool m_hasMap = false;
    bool m_isColourPicture = false;  // each channel on its own, drawn as red, green and blue
};
