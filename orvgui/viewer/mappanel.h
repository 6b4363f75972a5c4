#pragma once

#include <wx/timer.h>

#include <set>
#include <string>

#include "orvcore/filter/mapstatistics.h"
#include "orvcore/model/fileid.h"
#include "orvgui/common/backgroundtask.h"
#include "orvgui/viewer/mapview.h"
#include "orvgui/viewer/settingspanel.h"

class MapLegend;
class OrvStaticText;
class wxButton;
class wxCheckBox;
class wxChoice;
class wxSlider;
class wxTextCtrl;

// The panel of an image page that explains its maps: which one, how much of it over the picture, the legend with range and
// threshold, and its numbers inside and outside the selection. The numbers are counted beside the GUI thread. GUI thread.
class ORVGUI_API MapPanel : public OrvSidePanelBase {
  public:
    MapPanel(wxWindow* parent, OrvViewerHost* page);

    // The maps of the newest result, per slot, with the ranges that they are drawn with, and the names of those whose range the user
    // has set; the panel hides itself where there are none. They share their values with the result.
    void SetMaps(const std::vector<OrvMap> (&maps)[kFileSlots], const std::set<std::string>& byHand);
    // Holds no map any more until SetMaps; what was chosen stays chosen. For a page that is left.
    void LetGoMaps();
    bool HasMaps() const { return !m_maps[OrvEvidence].empty() || !m_maps[OrvReference].empty(); }
    // The chosen map of a slot, or null.
    const OrvMap* GetMap(OrvFileId slot) const;
    const MapDisplay& GetDisplay() const { return m_display; }
    // Which of the shown slot's maps has this name; the first where none has.
    std::size_t FindMap(const std::string& name) const;
    // As if the user had chosen it.
    void SetDisplay(const MapDisplay& display);

    // Where the user sets the range that the colours cover: Enter, or leaving a field, takes what is a range; the button takes it back.
    wxTextCtrl* GetLowField() const { return m_low; }
    wxTextCtrl* GetHighField() const { return m_high; }
    wxString GetRangeText() const { return m_rangeText; }  // what is said of range and threshold
    wxButton* GetResetButton() const { return m_reset; }

    // The selection, image pixels; empty for none. The numbers follow a moment later.
    void SetRegion(const Roi& region);
    bool IsCounting() const { return m_task.IsRunning() || m_timer.IsRunning(); }
    wxString GetNumbersText() const { return m_numbersText; }

  private:
    const OrvMap* ShownMap() const;
    void ShowMap();
    void OnChange();
    wxTextCtrl* AddRangeField(wxSizer* row, const wxString& name);
    void ShowRange(const OrvMap& map);
    void TakeRange();
    void Count();

    std::vector<OrvMap> m_maps[kFileSlots];
    MapDisplay m_display;
    bool m_isOpacityChosen = false;  // otherwise the program option holds
    Roi m_region;
    wxChoice* m_choice = nullptr;
    wxSlider* m_opacity = nullptr;
    wxCheckBox* m_beyond = nullptr;
    MapLegend* m_legend = nullptr;
    wxSizer* m_rangeRow = nullptr;
    wxTextCtrl* m_low = nullptr;
    wxTextCtrl* m_high = nullptr;
    wxButton* m_reset = nullptr;
    std::set<std::string> m_byHand;
    wxString m_lowShown;  // as the program wrote it
    wxString m_highShown;
    OrvStaticText* m_range = nullptr;
    wxString m_rangeText;
    OrvStaticText* m_numbers = nullptr;
    wxString m_numbersText;
    wxTimer m_timer;
    BackgroundTask m_task{*this};
};
