// What every kind of page and dialog shows, where it stands and how it looks, held against windowplan.tsv beside this file.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/combobox.h>
#include <wx/dcmemory.h>
#include <wx/grid.h>
#include <wx/slider.h>
#include <wx/spinctrl.h>
#include <wx/textctrl.h>
#include <wx/treectrl.h>
#include <wx/version.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <sstream>

#include "orvgui/common/accessible.h"
#include "orvgui/dialogs/fieldsdialog.h"
#include "orvgui/dialogs/optionsgui.h"
#include "orvgui/dialogs/tooldialog.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/filterspanel.h"
#include "tests/orvgui/framefixture.h"
#include "zorbase/files.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"

namespace {

// The plan as it was looked at and kept, a line for each control. Written anew with the environment variable ORVANE_KEEP_RESULTS.
std::string PlanPath() {
    return std::string(ORVANE_SOURCES) + "/tests/orvgui/shell/windowplan.tsv";
}
bool IsWriting() {
    return std::getenv("ORVANE_KEEP_RESULTS") != nullptr;
}

constexpr const char* kWholeWindow = "window";

// Sizes depend on what the letters are drawn with: elsewhere nothing can be compared.
std::string Drawn(const wxWindow* window) {
    const wxSize text = window->GetTextExtent("Handgloves 0123456789 %");
    const wxFont fixed(wxFontInfo(10).Family(wxFONTFAMILY_TELETYPE));
    int width = 0, height = 0;
    window->GetTextExtent("Handgloves 0123456789", &width, &height, nullptr, nullptr, &fixed);
    return ToString(text.x) + "x" + ToString(text.y) + ", " + ToString(width) + "x" + ToString(height) +
           ", " + wxGetLibraryVersionInfo().GetVersionString().utf8_string();
}

// Mean and centre of what is painted, so that a line more or less or elsewhere tells.
std::string Painted(const wxWindow* window) {
    // Asked of the window itself: what lies over it on the screen is of no account. The declaration comes with no package that the toolkit's
    // headers need.
    static const auto draw = reinterpret_cast<void (*)(void*, void*)>(dlsym(RTLD_DEFAULT, "gtk_widget_draw"));
    const wxSize area = window->GetSize();
    wxBitmap shot(area, 24);
    wxMemoryDC dc(shot);
    dc.SetBackground(*wxWHITE_BRUSH);
    dc.Clear();
    draw(window->GetHandle(), dc.GetImpl()->GetCairoContext());
    dc.SelectObject(wxNullBitmap);
    const wxImage image = shot.ConvertToImage();
    double sum = 0, across = 0, down = 0;
    for (int y = 0; y < area.y; ++y)
        for (int x = 0; x < area.x; ++x) {
            const double ink = 766 - image.GetRed(x, y) - image.GetGreen(x, y) - image.GetBlue(x, y);
            sum += ink;
            across += ink * x;
            down += ink * y;
        }
    std::ostringstream text;
    text.precision(7);
    text << "ink " << sum / area.x / area.y << " at " << across / sum << " " << down / sum;
    return text.str();
}

std::string Value(const wxWindow* window) {
    if (const auto* field = dynamic_cast<const wxTextCtrl*>(window)) return field->GetValue().utf8_string();
    if (const auto* box = dynamic_cast<const wxCheckBox*>(window))
        return std::string(box->GetValue() ? "on " : "off ") + box->GetLabel().utf8_string();
    if (const auto* slider = dynamic_cast<const wxSlider*>(window))
        return ToString(slider->GetMin()) + ".." + ToString(slider->GetValue()) + ".." +
               ToString(slider->GetMax());
    if (const auto* spin = dynamic_cast<const wxSpinCtrl*>(window))
        return ToString(spin->GetMin()) + ".." + ToString(spin->GetValue()) + ".." + ToString(spin->GetMax());
    if (const auto* items = dynamic_cast<const wxItemContainer*>(window)) {
        std::string text = ToString(items->GetSelection()) + " of";
        for (unsigned i = 0; i < items->GetCount(); ++i) text += " " + items->GetString(i).utf8_string();
        return text;
    }
    if (const auto* grid = dynamic_cast<const wxGrid*>(window)) {
        std::string text = ToString(grid->GetNumberRows()) + " rows, columns";
        // The last one takes the rest, one more or less as the toolkit lays out twice or three times.
        for (int i = 0; i < grid->GetNumberCols(); ++i)
            text += " " + grid->GetColLabelValue(i).utf8_string() +
                    (i + 1 < grid->GetNumberCols() ? ":" + ToString(grid->GetColSize(i)) : std::string());
        return text;
    }
    if (const auto* tree = dynamic_cast<const wxTreeCtrl*>(window))
        return ToString(static_cast<int>(tree->GetCount())) + " entries";
    return window->GetLabel().utf8_string();
}

class Plan {
  public:
    explicit Plan(std::string folder) : m_folder(std::move(folder)) {}

    void Take(const std::string& name, const wxWindow* root) { Walk(name, root, 0); }
    const std::string& GetText() const { return m_text; }

  private:
    void Walk(const std::string& name, const wxWindow* window, int depth) {
        if (!window->IsShown()) return;
        std::string text = Value(window) + " | " + window->GetToolTipText().utf8_string();
        // What is another one in each run.
        static const std::regex date("20[0-9]{2}-[0-9]{2}-[0-9]{2} .*:");
        if (text.find(m_folder) != std::string::npos) text = "a path";
        if (std::regex_search(text, date)) text = "a date";
        std::replace(text.begin(), text.end(), '\n', '/');
        std::replace(text.begin(), text.end(), '\t', ' ');
        if (text.size() > 120) text = text.substr(0, 60) + "... " + Sha256(text).substr(0, 8);
        const wxPoint at = window->IsTopLevel() ? wxPoint() : window->GetPosition();
        const wxSize size = window->IsTopLevel() ? window->GetClientSize() : window->GetSize();
        std::ostringstream line;
        line << name << '\t' << std::string(static_cast<std::size_t>(depth), '.')
             << wxString(window->GetClassInfo()->GetClassName()).utf8_string() << '\t';
        // How panes share their column's height depends on the sizes that the window had before.
        const bool isPane = name == kWholeWindow && (depth == 1 || dynamic_cast<const wxTreeCtrl*>(window));
        if (isPane)
            line << at.x << ' ' << size.x;
        else
            line << at.x << ',' << at.y << ' ' << size.x << 'x' << size.y;
        line << (window->IsThisEnabled() ? "" : " grey") << '\t' << text;
        const bool isDrawn =
            dynamic_cast<const wxControl*>(window) == nullptr && window->GetChildren().empty();
        if (isDrawn && window->IsShownOnScreen() && size.x > 1 && size.y > 1) line << '\t' << Painted(window);
        m_text += line.str() + "\n";
        for (const wxWindow* child : window->GetChildren())
            if (!child->IsTopLevel()) Walk(name, child, depth + 1);
    }

    std::string m_folder;
    std::string m_text;
};

// Whether two lines agree: all words, what is painted within half a percent.
bool IsSame(const std::string& kept, const std::string& found) {
    const std::size_t a = kept.find("\tink ");
    const std::size_t b = found.find("\tink ");
    if (a == std::string::npos || a != b || kept.compare(0, a, found, 0, b) != 0) return kept == found;
    std::istringstream before(kept.substr(a + 5));
    std::istringstream now(found.substr(b + 5));
    std::string word;
    for (const bool hasWord : {false, true, false}) {
        double x = 0, y = 0;
        if (hasWord && !(before >> word && now >> word)) return false;
        if (!(before >> x && now >> y) || std::abs(x - y) > 0.005 * x) return false;
    }
    return true;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

}  // namespace

TEST_F(FrameTest, PagesAndDialogsStandAsTheyWereKept) {
    const std::string drawn = Drawn(frame);
    const std::vector<std::string> kept =
        FileExists(PlanPath()) ? Lines(ReadFile(PlanPath())) : Lines("none");
    if (!IsWriting() && kept.at(0) != drawn)
        GTEST_SKIP() << "letters are " << drawn << ", kept with " << kept.at(0);
    const std::string samples = std::string(std::getenv("ORVANE_DATA")) + "/samples/";
    for (const char* name : {"coffee-edited.jpg", "coffee.jpg"})
        std::filesystem::copy_file(samples + name, folder / name);
    Plan plan(folder.Path());
    // The window manager tells its borders when it likes, and the toolkit then takes them from the size.
    const wxSize room(1280, 700);
    for (int agreed = 0; agreed < 3; ++agreed) {
        if (frame->GetClientSize() != room) agreed = 0;
        frame->SetClientSize(room);
        PumpFrames();
    }
    plan.Take(kWholeWindow, frame);
    const auto page = [&](const std::string& id, const std::string& files) {
        OrvFilter* filter = core->GetContext().FindFilter(id);
        if (filter == nullptr)
            frame->SelectFirstItem();  // the summary
        else
            frame->GetFiltersPanel()->ActivateGui(
                dynamic_cast<OrvFilterGui*>(filter->GetAnalsyisFilterGui()));
        Settle();
        PumpFrames();
        plan.Take(id + files, frame->GetViewerPanel()->GetShownPage());
    };
    Load(folder / "coffee-edited.jpg");
    for (const char* id : {"summary", "error-level", "histogram", "quantization-tables", "gps"})
        page(id, " one");
    Load(folder / "coffee.jpg", OrvReference);
    for (const char* id : {"summary", "visual-inspection", "jpeg-ghosts", "metadata", "consistency",
                           "hex-view", "dct-histograms", "reference-comparison", "thumbnails", "file-format"})
        page(id, " two");
    plan.Take(kWholeWindow, frame);
    const std::pair<const char*, std::function<wxDialog*()>> dialogs[] = {
        {"batch", [this] { return CreateBatchProcessingDialog(frame, "Batch"); }},
        {"flickr", [this] { return CreateFlickrSettingsDialog(frame, "Flickr"); }},
        {"cameras", [this] { return CreateCameraForensicsDialog(frame, "Cameras"); }},
        {"pdf", [this] { return CreatePdfSettingsDialog(frame, "PDF"); }},
        {"web", [this] { return CreateWebSearchDialog(frame, "Web"); }},
        {"options", [this] { return new OrvOptionsGui(frame, core->GetProgramOptions()); }},
        {"fields",
         [this] {
             return new FieldsDialog(frame, "Case",
                                     {{"Number", "7"}, {"Notes", "many\nlines", true, "A hint"}});
         }},
    };
    for (const auto& [name, make] : dialogs) {
        wxDialog* dialog = make();
        dialog->Show();
        PumpFrames();
        plan.Take(name, dialog);
        dialog->Destroy();
        PumpFrames();
    }
    if (IsWriting()) return WriteFile(PlanPath(), drawn + "\n" + plan.GetText());
    const std::vector<std::string> found = Lines(plan.GetText());
    int differing = 0;
    for (std::size_t i = 0; i < std::max(found.size() + 1, kept.size()) && differing < 12; ++i) {
        const std::string now = i == 0 ? drawn : i <= found.size() ? found[i - 1] : std::string();
        const std::string then = i < kept.size() ? kept[i] : std::string();
        if (IsSame(then, now)) continue;
        ADD_FAILURE() << "kept  " << then << "\nfound " << now;
        ++differing;
    }
}
