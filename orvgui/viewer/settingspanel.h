#pragma once

#include <functional>
#include <utility>

#include "orvgui/viewer/toolpanel.h"

class OrvStaticText;
class wxButton;
class wxGridBagSizer;

// The panels beside the canvases. The page puts its parameter controls into their grids; they decide nothing.

// A panel with a title and a grid that grows downwards.
class ORVGUI_API OrvSidePanelBase : public OrvToolPanelBase {
  public:
    OrvSidePanelBase(wxWindow* parent, OrvViewerHost* page, const wxString& title);
    wxGridBagSizer* GetGrid() const { return m_grid; }

  private:
    wxGridBagSizer* m_grid = nullptr;
};

// The filter's input and post-processing parameters.
class ORVGUI_API SettingsPanel : public OrvSidePanelBase {
  public:
    SettingsPanel(wxWindow* parent, OrvViewerHost* page);
};

// The filter's outputs.
class ORVGUI_API OutputsPanel : public OrvSidePanelBase {
  public:
    OutputsPanel(wxWindow* parent, OrvViewerHost* page);
};

// What the filter does and when it cannot see.
class ORVGUI_API DescriptionPanel : public OrvSidePanelBase {
  public:
    DescriptionPanel(wxWindow* parent, OrvViewerHost* page);
    void RefreshValues() override;
    // Open at first; once read it need not stand in the way of what is below it.
    void ShowText(bool show);
    bool IsTextShown() const;
    // Told when the user shows or hides the text.
    void SetListener(std::function<void()> listener) { m_listener = std::move(listener); }

  private:
    wxButton* m_title = nullptr;
    OrvStaticText* m_text = nullptr;
    std::function<void()> m_listener;
};
