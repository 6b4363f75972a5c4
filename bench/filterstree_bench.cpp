// What one full refresh of the filters tree costs: 60 filters with 10 configurations each. Run under a display:
// tests/support/with-display build/release/bin/filterstree_bench

#include <benchmark/benchmark.h>
#include <wx/app.h>
#include <wx/frame.h>
#include <wx/image.h>

#include <memory>

#include "orvcore/facade/interface.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/pages/pagefactory.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/filterspanel.h"

namespace {

constexpr int kFilters = 60;
constexpr int kConfigurations = 10;

// A filter with settings as they come: numbers, a choice, a switch.
class SettingsFilter : public OrvFilter {
  public:
    explicit SettingsFilter(int number) : OrvFilter(wxString::Format("Filter %d", number)) {
        Describe("Group " + std::to_string(number / 6), "Stands in for a filter.");
        SetParameters(Settings(50), {}, {});
        for (int i = 1; i < kConfigurations; ++i) AddDefaultConfiguration(Settings(50 + i));
    }

  private:
    static VecParameter Settings(int quality) {
        return {Parameter::Slider("quality", "Quality", quality, 1, 100),
                Parameter::Double("gain", "Gain", 1.5, 0.0, 10.0),
                Parameter::Choice("channel", "Channel", 1, {"Red", "Green", "Blue", "Luminance"}),
                Parameter::Bool("normalize", "Normalize", true), Parameter::Int("block", "Block", 8, 1, 64)};
    }
};

struct Windows {
    OrvInterface core;
    wxFrame* frame = nullptr;
    OrvFiltersPanel* panel = nullptr;

    Windows() {
        RegisterPageFactory();
        OrvGuiCommandRegistry::Init();
        for (int i = 0; i < kFilters; ++i)
            core.GetContext().RegisterFilter(std::make_unique<SettingsFilter>(i));
        frame = new wxFrame(nullptr, wxID_ANY, "Filters", wxDefaultPosition, wxSize(900, 700));
        auto* viewer = new OrvViewerPanel(frame);
        viewer->SetSize(300, 0, 600, 700);
        panel = new OrvFiltersPanel(frame, viewer);
        panel->SetSize(0, 0, 300, 700);
        panel->InitTreebook();
        panel->GetTree()->ExpandAll();
        frame->Show();
    }
};

std::unique_ptr<Windows> theWindows;

// Nothing has changed: what every finished run costs.
void RefreshUnchanged(benchmark::State& state) {
    for (auto _ : state) theWindows->panel->UpdateTreebook(true);
}
BENCHMARK(RefreshUnchanged)->Unit(benchmark::kMillisecond);

// Every item looks different from before.
void RefreshEveryItem(benchmark::State& state) {
    bool isEnabled = false;
    for (auto _ : state) {
        state.PauseTiming();
        for (OrvFilter* filter : theWindows->core.GetFilters())
            for (int i = 0; i < filter->GetConfigurationsSize(); ++i)
                filter->EnableConfiguration(i, isEnabled);
        isEnabled = !isEnabled;
        state.ResumeTiming();
        theWindows->panel->UpdateTreebook(true);
    }
}
BENCHMARK(RefreshEveryItem)->Unit(benchmark::kMillisecond);

void Rebuild(benchmark::State& state) {
    for (auto _ : state) theWindows->panel->InitTreebook();
}
BENCHMARK(Rebuild)->Unit(benchmark::kMillisecond);

class BenchApp : public wxApp {
  public:
    bool OnInit() override {
        wxInitAllImageHandlers();
        SetExitOnFrameDelete(false);
        CallAfter([this] {
            theWindows = std::make_unique<Windows>();
            benchmark::RunSpecifiedBenchmarks();
            theWindows->frame->Destroy();
            Yield();
            theWindows.reset();
            ExitMainLoop();
        });
        return true;
    }
};

}  // namespace

wxIMPLEMENT_APP_NO_MAIN(BenchApp);

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    return wxEntry(argc, argv);
}
