#pragma once

#include <wx/scrolwin.h>

#include "orvgui/pages/filtergui.h"

class PlotPanel;

// The page of a plot filter: the evidence plot above the reference plot, each shown when its file is loaded,
// beside them the tables of the result, in a panel whose width the user can change, and below them the other parameters from left to
// right, in as many rows as the page's width asks for.
class ORVGUI_API OrvFilterGuiPlot : public OrvFilterGui {
  public:
    using OrvFilterGui::OrvFilterGui;

    void CreateControlsCustom() override;
    void CreateControlsOutput() override;
    void ResetViewerPanel() override;
    void ConfigurePlots() override;
    void RefreshViewerPanel() override {}
    void UpdateFocus() override {}
    // The shown plots as one picture, the reference plot below the evidence plot.
    Image& GetDisplayedImage() override;

    // Which of several curves or bar sets is shown, from 0.
    void SetVisibleLayer(int layer) { m_visibleLayer = layer; }
    OrvFilterPlot* GetFilterPlot() const;
    PlotPanel* GetEvidencePlot() const { return m_evidencePlot; }
    PlotPanel* GetReferencePlot() const { return m_referencePlot; }

    wxWindow* GetTablePanel() const { return m_tables; }  // null where the filter gives no table
    void SetTableWidth(int width);                        // pixels, within what the page allows

  private:
    void CreateTablePanel(wxSizer* middle);
    void ConfigurePlot(PlotPanel* panel, OrvFileId slot);
    void FitStrip();
    void FitTables();

    int m_visibleLayer = 0;
    PlotPanel* m_evidencePlot = nullptr;
    PlotPanel* m_referencePlot = nullptr;
    wxScrolledWindow* m_strip = nullptr;   // holds the parameters
    bool m_isTableSized = false;           // by the user
    wxScrolledWindow* m_tables = nullptr;  // the tables, one below the other
    int m_tableWidthBefore = 0;            // before the edge was dragged
};

// The largest number of columns in which items of these widths, filled in row by row, are no wider than `room`; at least 1. Pixels.
ORVGUI_API int FlowColumns(const std::vector<int>& widths, int room);
