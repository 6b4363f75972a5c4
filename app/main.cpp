// orvane: the window. Makes the core and the main window, loads the files named on the command line and runs the event loop.

#include <wx/app.h>
#include <wx/image.h>
#include <wx/translation.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "orvcore/facade/interface.h"
#include "orvcore/filter/libraryversions.h"
#include "orvgui/common/language.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/filterspanel.h"
#include "orvgui/shell/mainframe.h"
#include "zorbase/appversion.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

// The file names of the command line as bytes: the toolkit's own copy loses names that are not UTF-8.
std::vector<std::string> theFiles;

constexpr const char* kUsage =
    "usage: orvane [EVIDENCE [REFERENCE]]\n"
    "       orvane PROJECT.zop\n"
    "\n"
    "Opens the forensic workstation, with these files when they are given.\n"
    "  --help     shows this text\n"
    "  --version  shows the version, and those of the libraries\n";

void ShowCurrentException() {
    wxString message = _("An unknown error has occurred.");
    try {
        throw;
    } catch (const std::exception& error) {
        message = ToWx(error.what());
    } catch (...) {
        // Nothing is known about it.
    }
    OrvMessageBox(message, _("Error"), wxOK | wxICON_ERROR);
}

class OrvaneApp : public wxApp {
  public:
    bool OnInit() override {
        SetAppName("orvane");
        SetAppDisplayName(ToWx(m_version.GetAppName()));
        wxInitAllImageHandlers();
        auto core = std::make_unique<OrvInterface>();
        UseLanguage(LanguageOf(core->GetProgramOptions()));
        auto* frame = new OrvMainFrame(core.release(), m_version, ToWx(m_version.GetAppName()));
        frame->SelectFirstItem();
        if (!theFiles.empty()) ShowPicture(*frame);
        if (getenv("ORVANE_TELL_FIRST_PAINT")) TellFirstPaint(*frame);
        frame->Show();
        CopySamples();
        if (GetInterface()->GetRecovery().List().empty()) {
            frame->CallAfter([] { LoadFiles(); });
        } else {
            OfferRecovery(*frame);
        }
        return true;
    }

    // An error in one handler is told and ends nothing.
    bool OnExceptionInMainLoop() override {
        ShowCurrentException();
        return true;
    }
    void OnUnhandledException() override { ShowCurrentException(); }

  private:
    // Whoever opens a photograph wants to see it first, with the main facts beside it.
    static void ShowPicture(OrvMainFrame& frame) {
        OrvFilter* filter = GetContext()->FindFilter("visual-inspection");
        auto* page = filter ? dynamic_cast<OrvFilterGui*>(filter->GetAnalsyisFilterGui()) : nullptr;
        if (!page) return;
        frame.GetViewerPanel()->ExpectFile();
        frame.GetFiltersPanel()->ActivateGui(page);
    }

    // Only when the window has its place on the screen, over which the question is put.
    static void OfferRecovery(OrvMainFrame& frame) {
        frame.GetViewerPanel()->Bind(wxEVT_PAINT, [&frame, isAsked = false](wxPaintEvent& event) mutable {
            event.Skip();
            if (std::exchange(isAsked, true)) return;
            frame.CallAfter([&frame] {
                if (!frame.OfferRecovery()) LoadFiles();
            });
        });
    }

    // For bench/startup_bench: tells the moment of the first paint and ends the program.
    static void TellFirstPaint(OrvMainFrame& frame) {
        frame.GetViewerPanel()->Bind(wxEVT_PAINT, [&frame](wxPaintEvent& event) {
            event.Skip();
            timespec now{};
            clock_gettime(CLOCK_MONOTONIC, &now);
            std::printf("%lld\n", static_cast<long long>(now.tv_sec) * 1000000000 + now.tv_nsec);
            std::fflush(stdout);
            frame.CallAfter([&frame] { frame.Close(true); });
        });
    }

    // The samples are the user's to play with: the first start puts a copy of them beside what he makes.
    static void CopySamples() {
        const std::string target = PathJoin(GetAppDocumentsPath(), "samples");
        if (FolderExists(target)) return;
        std::error_code error;  // without samples the program works as well
        std::filesystem::create_directories(GetAppDocumentsPath(), error);
        std::filesystem::copy(PathJoin(GetAppDataPath(), "samples"), target,
                              std::filesystem::copy_options::recursive, error);
    }

    static void LoadFiles() {
        OrvFileId slot = OrvEvidence;
        for (const std::string& file : theFiles) {
            if (PathExtension(file) == "zop") {
                GetInterface()->LoadProject(PathToWx(file));
                return;
            }
            GetInterface()->SetFile(PathToWx(file), slot);
            if (slot == OrvReference) return;
            slot = OrvReference;
        }
    }

    AppVersion m_version;
};

}  // namespace

wxIMPLEMENT_APP_NO_MAIN(OrvaneApp);

int main(int argc, char** argv) {
    bool onlyFiles = false;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (!onlyFiles && argument == "--") {
            onlyFiles = true;
        } else if (!onlyFiles && (argument == "--help" || argument == "-h")) {
            std::fputs(kUsage, stdout);
            return 0;
        } else if (!onlyFiles && argument == "--version") {
            std::printf("%s\n", VersionText().c_str());
            return 0;
        } else if (onlyFiles || !argument.starts_with("--")) {
            theFiles.emplace_back(argument);
        }
    }
#ifdef NDEBUG
    wxDisableAsserts();
#endif
    // A list or panel that goes on below its edge shows a scroll bar, not only while the mouse is over it.
    setenv("GTK_OVERLAY_SCROLLING", "0", 0);
    // The toolkit has nothing to read from the command line but the program's name.
    int toolkitArgc = 1;
    return wxEntry(toolkitArgc, argv);
}
