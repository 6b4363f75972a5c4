// What every kind of page and dialog shows, where it stands and how it looks, held against windowplan.tsv beside this file.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "orvgui/common/accessible.h"
#include "orvgui/dialogs/fieldsdialog.h"
#include "orvgui/dialogs/optionsgui.h"
#include "orvgui/dialogs/tooldialog.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/filterspanel.h"
#include "tests/orvgui/framefixture.h"
#include "tests/orvgui/windowstate.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

// The part of what is painted that may be another one.
constexpr double kTolerance = 0.005;

// The plan as it was looked at and kept, a line for each control. Written anew with the environment variable ORVANE_KEEP_RESULTS.
std::string PlanPath() {
    return std::string(ORVANE_SOURCES) + "/tests/orvgui/shell/windowplan.tsv";
}
bool IsWriting() {
    return std::getenv("ORVANE_KEEP_RESULTS") != nullptr;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

}  // namespace

TEST_F(FrameTest, PagesAndDialogsStandAsTheyWereKept) {
    const std::string drawn = DrawnWith(frame);
    const std::vector<std::string> kept =
        FileExists(PlanPath()) ? Lines(ReadFile(PlanPath())) : Lines("none");
    if (!IsWriting() && kept.at(0) != drawn)
        GTEST_SKIP() << "letters are " << drawn << ", kept with " << kept.at(0);
    const std::string samples = std::string(std::getenv("ORVANE_DATA")) + "/samples/";
    for (const char* name : {"coffee-edited.jpg", "coffee.jpg"})
        std::filesystem::copy_file(samples + name, folder / name);
    WindowState plan(folder.Path());
    // The window manager tells its borders when it likes, and the toolkit then takes them from the size.
    const wxSize room(1280, 700);
    for (int agreed = 0; agreed < 3; ++agreed) {
        if (frame->GetClientSize() != room) agreed = 0;
        frame->SetClientSize(room);
        PumpFrames();
    }
    plan.Take(WindowState::kWholeWindow, frame);
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
    plan.Take(WindowState::kWholeWindow, frame);
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
    std::vector<std::string> found{drawn};
    found.insert(found.end(), plan.Lines().begin(), plan.Lines().end());
    if (IsWriting()) return WriteFile(PlanPath(), Join(found, "\n") + "\n");
    int differing = 0;
    for (std::size_t i = 0; i < std::max(found.size(), kept.size()) && differing < 12; ++i) {
        const std::string now = i < found.size() ? found[i] : std::string();
        const std::string then = i < kept.size() ? kept[i] : std::string();
        if (IsSameState(then, now, kTolerance)) continue;
        ADD_FAILURE() << "kept  " << then << "\nfound " << now;
        ++differing;
    }
}
