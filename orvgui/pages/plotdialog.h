#pragma once

#include <wx/dialog.h>

#include "orvcore/filter/filterresult.h"
#include "orvgui/common/orvgui.h"

class PlotPanel;

// Loads one set of data into a plot, with its axes' names and, in the corner, whose it is. Texts are translated here.
void ShowPlotData(PlotPanel& panel, OrvPlotData data, OrvFileId slot, int visibleLayer);

// A plot in a window of its own, as large as the user wants it, with its export as a picture.
class ORVGUI_API PlotDialog : public wxDialog {
  public:
    PlotDialog(wxWindow* parent, const wxString& title, const OrvPlotData& data, OrvFileId slot);

    PlotPanel* GetPlot() const { return m_plot; }
    void OnSave(wxCommandEvent& event);

  private:
    PlotPanel* m_plot;
};
