#pragma once

#include <wx/panel.h>
#include <wx/scrolwin.h>

#include <memory>
#include <vector>

#include "orvcore/filter/filter.h"
#include "orvcore/filter/filterguibase.h"
#include "orvgui/common/orvgui.h"
#include "orvgui/controls/parametercontrol.h"

class OrvStaticText;
struct OrvFolderTool;
class wxGridBagSizer;

// The page of one analysis filter: description, one control per input, post-processing and output parameter,
// and what a kind of page adds. The page never runs the filter; it hands edited values to the core and shows
// what the core then holds.
//
// Constructing is cheap, Init() builds the widgets. The page belongs to its parent window; the filter knows
// it weakly and is told when it goes. Control i always belongs to parameter i of its list. A page of fields
// that is taller than its window scrolls. GUI thread only.
class ORVGUI_API OrvFilterGui : public wxPanel, public OrvFilterGuiBase, public wxScrollHelper {
  public:
    // scrolls: false for a page whose parts scroll by themselves: it fills its window and does without scroll bars, which are
    // most of what a page costs at the start.
    OrvFilterGui(wxWindow* parent, OrvFilter* filter, bool scrolls = true);
    ~OrvFilterGui() override;

    // The hooks, in the order of the table of virtual functions.
    virtual void AddToSizer(wxGridBagSizer* sizer, wxWindow* window, int row, int col, int colspan,
                            int rowspan);
    virtual void AddLabelToSizer(wxGridBagSizer* sizer, wxWindow* window, int row, int col, int colspan,
                                 int rowspan);
    virtual void CreateTitle(const wxString& text);
    virtual void CreateSizer();
    virtual void CreateControlsDescription();
    virtual void CreateControlsInput();
    virtual void CreateControlsPostProcessing();
    virtual void CreateControlsOutput();
    virtual void CreateControlsCustom() {}
    virtual void CreateControlsCustom2() {}
    virtual void OnParameterChange(wxCommandEvent& event);
    virtual void UpdateAfterAction(int, int, const VecParameter&) {}
    virtual void UpdateFocus() {}
    virtual void UpdateControlsInput();
    virtual void UpdateControlsPostProcessing();
    virtual void UpdateControlsOutput();
    virtual void UpdateControlsCustom() {}
    virtual void UpdatePlotLayer() {}
    virtual void RefreshControlsCustom() {}
    virtual void RefreshViewerPanel();
    virtual void ResetViewerPanel();
    virtual void ConfigurePlots() {}
    virtual void ConfigureViewer(int, bool) {}
    virtual void WindowSplit() {}
    virtual Image& GetDisplayedImage() { return m_displayedImage; }

    // Builds the page and fills it. Called once.
    void Init() override;
    wxEvtHandler* GetEvtHandler() override { return this; }
    // The name of the filter.
    wxString GetName() const override;

    void CreateControls();  // what Init() does first
    // Copies the filter's parameter lists afresh and shows them. Rebuilds nothing.
    void UpdateGui();
    // Hands the edited values to the core.
    void Apply();
    void ConfigureFilter() { Apply(); }
    void OnParametersPostProcessingReset(wxCommandEvent& event);
    // Gives the region (image pixels) to every input that follows the viewer's selection, then applies;
    // nothing happens when there is no such input or all hold it already.
    void ApplySelection(const Roi& region);

    // Whether the application's main window is the active one; true when that cannot be told.
    static bool IsTopWindow();

    OrvFilter* GetFilter() const { return m_filter; }
    const VecParameter& GetParameters() const { return m_parametersInput; }
    const wxString& GetTestFilename() const { return m_testFilename; }
    void SetTestFilename(const wxString& name) { m_testFilename = name; }
    const wxString& GetReferenceFilename() const { return m_referenceFilename; }
    void SetReferenceFilename(const wxString& name) { m_referenceFilename = name; }

    // Scrolling is the scroll helper's business; the margin around the content is ours.
    void PrepareDC(wxDC& dc) override { DoPrepareDC(dc); }
    bool Layout() override;
    bool CanScroll(int orientation) const override { return IsScrollbarShown(orientation); }
    void DoSetVirtualSize(int x, int y) override { ScrollDoSetVirtualSize(x, y); }
    wxSize GetBestVirtualSize() const override;

  protected:
    using Controls = std::vector<std::unique_ptr<ParameterControl>>;

    // Says, in the next row of the description's grid, why there is nothing to see; an empty text says
    // nothing.
    void SetNotice(const wxString& text);
    // Recomputes the scrolled size when a control asks for another size than before.
    void FitContent();
    // Why the filter says nothing about what is loaded, a line per file where there are two; "" when it says something about
    // all. isAll: about none of them.
    wxString GetSilence(bool& isAll) const;
    // Whether the core holds a file in one of the slots.
    static bool HasAnyFile();
    // What a page without a file says, in the user's language.
    static wxString GetNoDataMessage();
    // What a page says while the result for what is loaded is on its way; "" when it is there, failed, or there is no file.
    wxString GetAwaitedMessage() const;

    Controls m_controlsInput;
    Controls m_controlsPostProcessing;
    Controls m_controlsOutput;
    wxGridBagSizer* m_mainSizer = nullptr;
    wxGridBagSizer* m_descriptionSizer = nullptr;
    wxGridBagSizer* m_inputSizer = nullptr;
    wxGridBagSizer* m_outputSizer = nullptr;
    wxWindow* m_descriptionParent = nullptr;
    wxWindow* m_inputParent = nullptr;
    wxWindow* m_outputParent = nullptr;
    Image m_displayedImage;
    VecParameter m_parametersInput;
    VecParameter m_parametersPostProcessing;
    VecParameter m_parametersOutput;
    int m_columnSpan = 3;
    OrvFilter* m_filter;
    wxString m_testFilename;
    wxString m_referenceFilename;

    int m_margin = 8;  // pixels left free around the content; a page that is all picture sets 0

  private:
    // A button for each tool that the filter has for folders.
    void CreateFolderTools();
    void RunFolderTool(const OrvFolderTool& tool);

    OrvStaticText* m_notice = nullptr;  // made when first needed
    wxSize m_fittedSize;
};
