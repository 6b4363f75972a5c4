// How long the window's thread is ever busy at a stretch while a 100-megapixel JPEG is loaded, and decoded where a filter
// shows pixels, beside 10,000 other files, and while those are examined and shown in a table. Run under a display:
// tests/support/with-display build/release/bin/responsiveness_bench

#include <wx/app.h>
#include <wx/image.h>
#include <wx/timer.h>

#include <cstdio>
#include <filesystem>
#include <opencv2/core.hpp>

#include "bench/startclock.h"
#include "orvcore/facade/interface.h"
#include "orvgui/shell/mainframe.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorimage/imageio.h"

namespace {

constexpr int kFiles = 10000;

// Ticks as fast as the event loop lets it; the longest time between two ticks is the longest time without the loop.
class Pulse : public wxTimer {
  public:
    void Restart() {
        m_last = SharedNanoseconds();
        m_longest = 0;
        Start(1);
    }
    double LongestMs() const { return static_cast<double>(m_longest) / 1e6; }
    void Notify() override {
        const std::int64_t now = SharedNanoseconds();
        m_longest = std::max(m_longest, now - m_last);
        m_last = now;
    }

  private:
    std::int64_t m_last = 0;
    std::int64_t m_longest = 0;
};

class BenchApp : public wxApp {
  public:
    bool OnInit() override {
        wxInitAllImageHandlers();
        Prepare();
        m_frame = new OrvMainFrame(new OrvInterface, m_version, "Orvane");
        m_frame->Show();
        m_frame->SelectFirstItem();
        m_step.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { Step(); });
        m_step.Start(100);
        return true;
    }

  private:
    void Prepare() {
        const std::vector<std::uint8_t> small =
            EncodeImage(Image(cv::Mat(8, 8, CV_8UC3, cv::Scalar(40, 90, 200))), "png");
        for (int i = 0; i < kFiles; ++i)
            WriteFile(m_folder / ("picture" + ToString(i) + ".png"), std::string(small.begin(), small.end()));
        cv::Mat large(8660, 11550, CV_8UC3);
        cv::theRNG().state = 1;
        cv::randn(large, cv::Scalar(110, 120, 130), cv::Scalar::all(12));
        m_large = m_folder / "large.jpg";
        WriteImage(Image(large), m_large, 90);
    }

    // One piece after the other: the start, then each filter with the large picture.
    void Step() {
        OrvInterface& core = *GetInterface();
        if (core.IsBusy() || core.IsListing(OrvEvidence)) {
            m_quiet = 0;
            return;
        }
        if (++m_quiet < 8) return;
        m_quiet = 0;
        if (m_next > 0 && m_pulse.IsRunning()) {
            std::printf("%-20s longest stretch without the event loop: %.1f ms (goal: at most 50)\n",
                        m_name.c_str(), m_pulse.LongestMs());
            std::fflush(stdout);
        }
        static const char* const kFilters[] = {"file-format", "visual-inspection"};
        if (m_next == 2) {
            m_name = "folder analysis";
            ++m_next;
            m_pulse.Restart();
            core.CallGenericAction(
                OrvActionBatchAnalysis, "Batch",
                {Parameter::Path(ParameterType::Folder, "folder", "Folder", m_folder.Path())});
            return;
        }
        while (m_next < 2 && core.GetContext().FindFilter(kFilters[m_next]) == nullptr) ++m_next;
        if (m_next >= 2) {
            m_step.Stop();
            m_pulse.Stop();
            m_frame->Close(true);
            return;
        }
        m_name = kFilters[m_next++];
        core.ActivateFilter(core.GetContext().FindFilter(m_name), -1);
        m_pulse.Restart();
        core.SetFile("", OrvEvidence);
        core.SetFile(PathToWx(m_large), OrvEvidence);
    }

    TemporaryFolder m_folder;
    ScopedVariable m_documents{"ORVANE_DOCUMENTS", (m_folder / "documents").c_str()};
    AppVersion m_version;
    OrvMainFrame* m_frame = nullptr;
    std::string m_large;
    std::string m_name;
    Pulse m_pulse;
    wxTimer m_step;
    int m_next = 0;
    int m_quiet = 0;
};

}  // namespace

wxIMPLEMENT_APP(BenchApp);
