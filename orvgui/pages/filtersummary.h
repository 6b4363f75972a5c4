#pragma once

#include <memory>
#include <vector>

#include "orvcore/filter/filter.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/filtersummarytext.h"

class OrvContext;
class OrvListCtrl;
class wxButton;
class wxTextCtrl;

// The first entry of the filters tree: no analysis of its own, but a page that gathers how the others stand.
class ORVGUI_API FilterSummary : public OrvFilter {
  public:
    // Makes itself the active filter of the context, if there is one.
    FilterSummary();
    // Puts a summary before the context's other filters, once.
    static void Register(OrvContext& context);

    OrvPageKind GetPageKind() const override { return OrvPageKind::Summary; }
    void Apply() override {}

  protected:
    OrvFilterGui* CreatePanel(wxWindow* parent, OrvFilter* filter) override;
};

// One status line of the summary: the filter's name, a colour, a few words. Its windows belong to the parent.
class ORVGUI_API StatusGroup {
  public:
    // Adds itself to the given row of the sizer, columns 0 to 2.
    StatusGroup(wxWindow* parent, wxGridBagSizer* sizer, int row, OrvFilter* filter);

    void SetColor(const wxColour& colour);
    void SetStatus(const wxString& status);  // longer than the field: its start shows
    void SetToolTip(const wxString& text);
    void AddToSizer(wxGridBagSizer* sizer, wxWindow* window, int row, int col, int colspan, int rowspan);

    OrvFilter* GetFilter() const { return m_filter; }
    wxString GetStatus() const;
    wxColour GetColor() const;

  private:
    OrvFilter* m_filter;  // belongs to the core
    OrvStaticText* m_label;
    wxTextCtrl* m_swatch;
    wxTextCtrl* m_status;
};

// The page of the summary: a status line for every filter that gives verdicts, beside them what was found, the strongest first,
// each leading to its page, and below them all of it in sentences. GUI thread only.
class ORVGUI_API FilterSummaryPanel : public OrvFilterGui {
  public:
    FilterSummaryPanel(wxWindow* parent, OrvFilter* filter);

    void CreateControlsDescription() override;
    void CreateControlsCustom() override;
    void UpdateControlsCustom() override;
    void CreateResultPanel();

    const std::vector<std::unique_ptr<StatusGroup>>& GetStatusGroups() const { return m_groups; }
    wxTextCtrl* GetResultText() const { return m_result; }
    // A row per finding: how strong it is and of which file, the filter, the sentence.
    OrvListCtrl* GetFindingsList() const { return m_list; }
    // Goes to the page of the filter that found it.
    void OpenFinding(std::size_t index);
    // Asks the core for every result that is missing; it is told when they are there.
    void RunAll();

  private:
    std::vector<std::unique_ptr<StatusGroup>> m_groups;
    void CreateFindings(int firstRow, int rows);
    void ShowFindings(const std::vector<SummaryFile>& files);

    wxTextCtrl* m_result = nullptr;
    wxButton* m_runAll = nullptr;
    OrvListCtrl* m_list = nullptr;
    std::vector<SummaryFinding> m_findings;
    TableString m_shown;  // in the list
};
