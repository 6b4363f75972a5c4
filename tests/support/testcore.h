#pragma once

#include <gtest/gtest.h>
#include <wx/app.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "orvcore/facade/interface.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

// A temporary folder that is the documents folder as well.
class CaseFolder : public TemporaryFolder {
  public:
    // Writes a small picture whose grey level tells it from others, and returns its path.
    std::string WritePicture(const std::string& name, int level = 100, int side = 16) const {
        const std::string path = *this / name;
        // As another program would: this one's writers refuse what is loaded.
        std::filesystem::remove(path);
        WriteFile(path, EncodeImage(Image(cv::Mat(side, side, CV_8UC3, cv::Scalar::all(level))),
                                    PathExtension(name)));
        return path;
    }

  private:
    ScopedVariable m_documents{"ORVANE_DOCUMENTS", (Path() + "/documents").c_str()};
};

// A filter that counts its runs, can be slow, can fail, and tells what it was given.
class ProbeFilter : public OrvFilterPlot {
  public:
    explicit ProbeFilter(const std::string& id = "probe") : OrvFilterPlot(ToWx(id), id) {
        Describe("Test", "Counts its runs.");
        SetParameters({Parameter::Int("value", "Value", 0, 0, 1000000)},
                      {Parameter::Int("gain", "Gain", 1, 1, 1000)},
                      {Parameter::Output(ParameterType::OutputInt64, "sum", "Sum"),
                       Parameter::Output(ParameterType::OutputString, "file", "File")});
    }
    OrvPageKind GetPageKind() const override { return OrvPageKind::Text; }
    bool IsCacheable() const override { return cacheable; }

    bool cacheable = false;
    std::atomic<int> sleepMs{0};
    std::atomic<bool> fails{false};
    mutable std::atomic<int> runs{0};
    mutable std::atomic<int> started{0};

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        ++started;
        for (int waited = 0; waited < sleepMs; waited += 5) {
            job.SetProgress(static_cast<double>(waited) / sleepMs);
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        if (fails) ZOR_THROW(Format, "It failed on purpose.");
        ++runs;
        result.output.Find("sum")->SetValue(
            static_cast<std::int64_t>(input.Get<int>("value") + file.GetBytes().size()));
        result.output.Find("file")->SetValue(PathName(file.GetPath()));
    }
    void PostProcess(const VecParameter& post, const OrvJob&, OrvSlotResult& result) const override {
        Parameter* sum = result.output.Find("sum");
        sum->SetValue(sum->Get<std::int64_t>() * post.Get<int>("gain"));
    }
};

// A page as the core sees it.
class ProbePage : public wxEvtHandler, public OrvFilterGuiBase {
  public:
    void Init() override {}
    wxEvtHandler* GetEvtHandler() override { return this; }
};

// The window's side of the core in a test: an event sink whose events are delivered when the test pumps them.
class TestSink : public wxEvtHandler, public OrvProgressHandler {
  public:
    struct Seen {
        int id;
        int error;
        std::string text;
        OrvFilter* filter;
    };

    TestSink() { Bind(wxEVT_ORV_COMMAND, &TestSink::OnEvent, this); }

    // What to do with each event; by default it is acknowledged.
    std::function<void(OrvCommandEvent&)> handle = [](OrvCommandEvent&) { GetInterface()->PostResponse(); };
    std::vector<Seen> seen;
    int created = 0;
    int destroyed = 0;

    void CreateProgress() override { ++created; }
    void DestroyProgress() override { ++destroyed; }
    bool HasProgress() override { return false; }

    int Count(int id) const {
        int count = 0;
        for (const Seen& event : seen) count += event.id == id ? 1 : 0;
        return count;
    }
    std::vector<int> Ids() const {
        std::vector<int> ids;
        for (const Seen& event : seen) ids.push_back(event.id);
        return ids;
    }

    // Delivers events until the condition holds; false after the time-out.
    bool PumpUntil(const std::function<bool()>& condition, int timeoutMs = 10000) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        while (true) {
            wxTheApp->ProcessPendingEvents();
            if (condition()) return true;
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    bool PumpUntilIdle(int timeoutMs = 10000) {
        return PumpUntil([] { return !GetInterface()->IsBusy(); }, timeoutMs);
    }

  private:
    void OnEvent(OrvCommandEvent& event) {
        seen.push_back({event.GetId(), event.GetError(), FromWx(event.GetString()), event.GetFilter()});
        handle(event);
    }
};

// A core with one probe filter that is active and has a page, and a sink.
class CoreTest : public testing::Test {
  protected:
    CoreTest() {
        if (wxTheApp == nullptr) wxAppConsole::SetInstance(new wxAppConsole);
        core = std::make_unique<OrvInterface>();
        core->SetProgressHandler(&sink);
        probe = static_cast<ProbeFilter*>(core->GetContext().RegisterFilter(std::make_unique<ProbeFilter>()));
        probe->SetAnalysisFilterGui(&page);
        core->GetContext().SetActiveFilter(probe);
    }
    ~CoreTest() override { core.reset(); }

    void Configure(int value, int gain = 1, bool force = false) {
        VecParameter input = probe->GetInputPrototype();
        VecParameter post = probe->GetPostProcessingPrototype();
        input[0].SetValue(value);
        post[0].SetValue(gain);
        core->Configure(probe, -1, input, post, force);
    }
    void Load(const std::string& path, OrvFileId slot = OrvEvidence) {
        core->SetFile(PathToWx(path), slot);
        ASSERT_TRUE(sink.PumpUntilIdle());
    }

    CaseFolder folder;
    TestSink sink;
    ProbePage page;
    std::unique_ptr<OrvInterface> core;
    ProbeFilter* probe = nullptr;
};
