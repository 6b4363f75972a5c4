// How long a page with 40 parameters takes to be built and to be updated. Run under a display:
// tests/support/with-display build/release/bin/filterpage_bench

#include <benchmark/benchmark.h>
#include <wx/app.h>
#include <wx/evtloop.h>
#include <wx/frame.h>
#include <wx/sizer.h>

#include <string>

#include "orvcore/facade/interface.h"
#include "orvgui/pages/filterguitext.h"
#include "tests/support/everytypefilter.h"
#include "tests/support/temporaryfolder.h"

namespace {

constexpr int kParameters = 40;

// As long as the metadata of a camera's photograph.
TableString MetadataTable(int run) {
    TableString table = {{"Group", "Name", "Evidence", "Reference"}};
    for (int i = 0; i < 200; ++i)
        table.push_back({"Exif.Photo", "Tag number " + std::to_string(i), "value " + std::to_string(run + i),
                         i % 10 == 0 ? "!other" : "same"});
    return table;
}

// Half of the parameters are edited, half are results, of the types that filters mostly have, a table among them.
class FortyParameters : public OrvFilter {
  public:
    FortyParameters() : OrvFilter("Forty parameters", "forty-parameters") {
        VecParameter input;
        VecParameter output;
        for (int i = 0; i < kParameters / 8; ++i) {
            const std::string n = std::to_string(i);
            input.push_back(Parameter::Bool("bool" + n, "Enabled", true));
            input.push_back(Parameter::Slider("slider" + n, "Quality", 90, 1, 100));
            input.push_back(Parameter::Choice("choice" + n, "Mode", 0, {"Fast", "Good", "Best"}));
            input.push_back(Parameter::Double("double" + n, "Sigma", 1, 0, 10));
            output.push_back(Parameter::Output(ParameterType::OutputString, "string" + n, "Camera"));
            output.push_back(Parameter::Output(ParameterType::OutputInt64, "int" + n, "Size"));
            output.push_back(
                Parameter::Output(ParameterType::OutputImageResolution, "resolution" + n, "Pixels"));
            output.push_back(Parameter::Output(ParameterType::OutputDateTime, "date" + n, "Taken"));
        }
        output[output.size() - 1] = Parameter::Output(ParameterType::TableString, "table", "Metadata");
        SetParameters(input, {}, output);
    }
    // Values that differ from one update to the next.
    void Publish(int run) {
        VecParameter values = GetOutputPrototype();
        for (Parameter& value : values) {
            if (value.Type() == ParameterType::OutputInt64)
                value.SetValue(std::int64_t{run});
            else if (value.Type() == ParameterType::OutputImageResolution)
                value.SetValue(ImageResolution{run, run});
            else if (value.Type() == ParameterType::TableString)
                value.SetValue(MetadataTable(run));
            else
                value.SetValue("value " + std::to_string(run));
        }
        m_values = values;
    }
    const VecParameter& Values() const { return m_values; }

  private:
    VecParameter m_values;
};

// Shows what was published last, without a core that runs.
class BenchPage : public OrvFilterGuiText {
  public:
    using OrvFilterGuiText::OrvFilterGuiText;
    void UpdateControlsOutput() override {
        if (const auto* filter = dynamic_cast<FortyParameters*>(GetFilter()); !filter->Values().empty())
            m_parametersOutput = filter->Values();
        OrvFilterGuiText::UpdateControlsOutput();
    }
    void UpdateControlsCustom() override {}
};

wxFrame* frame = nullptr;
FortyParameters* filter = nullptr;

void Deliver() {
    wxEventLoopBase::GetActive()->YieldFor(wxEVT_CATEGORY_ALL);
    wxTheApp->ProcessIdle();
}

void BuildPage(benchmark::State& state) {
    for (auto _ : state) {
        auto* page = new BenchPage(frame, filter);
        page->SetSize(frame->GetClientSize());
        page->Init();
        page->Layout();
        state.PauseTiming();
        page->Destroy();
        Deliver();
        state.ResumeTiming();
    }
}
BENCHMARK(BuildPage)->Unit(benchmark::kMillisecond)->MinTime(1.0);

void UpdatePage(benchmark::State& state) {
    auto* page = new BenchPage(frame, filter);
    page->SetSize(frame->GetClientSize());
    page->Init();
    Deliver();
    int run = 0;
    for (auto _ : state) {
        state.PauseTiming();
        Deliver();
        filter->Publish(++run);
        state.ResumeTiming();
        page->UpdateGui();
    }
    page->Destroy();
    Deliver();
}
BENCHMARK(UpdatePage)->Unit(benchmark::kMillisecond)->MinTime(1.0);

class BenchApp : public wxApp {
  public:
    bool OnInit() override {
        SetExitOnFrameDelete(false);
        CallAfter([this] {
            OrvInterface core;
            FortyParameters parameters;
            filter = &parameters;
            frame = new wxFrame(nullptr, wxID_ANY, "Page", wxDefaultPosition, wxSize(1280, 800));
            frame->Show();
            Deliver();
            benchmark::RunSpecifiedBenchmarks();
            frame->Destroy();
            Deliver();
            ExitMainLoop();
        });
        return true;
    }
};

}  // namespace

wxIMPLEMENT_APP_NO_MAIN(BenchApp);

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const TemporaryFolder documents;
    const ScopedVariable variable("ORVANE_DOCUMENTS", documents.Path().c_str());
    int toolkitArgc = 1;
    return wxEntry(toolkitArgc, argv);
}
