// Runs the window tests from inside the toolkit's main event loop, where windows live in the program, too.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/evtloop.h>
#include <wx/image.h>
#include <wx/msgdlg.h>
#include <wx/utils.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "tests/support/guitest.h"
#include "tests/support/temporaryfolder.h"

namespace {

std::vector<std::string>* theExpectedAssertions = nullptr;
const wxDialog* theShownDialog = nullptr;  // one that a test wants to see for real

std::string Describe(wxDialog* dialog) {
    if (const auto* box = dynamic_cast<wxMessageDialogBase*>(dialog)) {
        return (dialog->GetTitle() + "|" + box->GetMessage()).utf8_string();
    }
    return dialog->GetTitle().utf8_string();
}

// An unexpected dialog would wait for ever.
class RefuseDialogs : public wxModalDialogHook {
  protected:
    int Enter(wxDialog* dialog) override {
        if (dialog == theShownDialog) return wxID_NONE;
        ADD_FAILURE() << "a dialog appeared that no test expects: " << Describe(dialog);
        return wxID_CANCEL;
    }
};

class TestApp : public wxApp {
  public:
    bool OnInit() override {
        wxInitAllImageHandlers();
        SetExitOnFrameDelete(false);
        m_refuse.Register();
        CallAfter([this] {
            m_result = RUN_ALL_TESTS();
            m_refuse.Unregister();
            ExitMainLoop();
        });
        return true;
    }
    int OnRun() override {
        wxApp::OnRun();
        return m_result;
    }
    bool OnExceptionInMainLoop() override {
        ReportException();
        return true;
    }
    void OnUnhandledException() override { ReportException(); }
    void OnAssertFailure(const wxChar* file, int line, const wxChar* function, const wxChar* condition,
                         const wxChar* message) override {
        const wxString text = wxString(message ? message : condition);
        if (theExpectedAssertions) {
            theExpectedAssertions->push_back(text.utf8_string());
            return;
        }
        ADD_FAILURE_AT(wxString(file).utf8_string().c_str(), line)
            << "assertion \"" << wxString(condition).utf8_string() << "\" in "
            << wxString(function).utf8_string() << ": " << text.utf8_string();
    }

  private:
    static void ReportException() {
        try {
            throw;
        } catch (const std::exception& error) {
            ADD_FAILURE() << "an exception left a handler: " << error.what();
        } catch (...) {
            ADD_FAILURE() << "an unknown exception left a handler";
        }
    }

    int m_result = 1;
    RefuseDialogs m_refuse;
};

}  // namespace

void Pump() {
    if (wxEventLoopBase* loop = wxEventLoopBase::GetActive()) {
        loop->YieldFor(wxEVT_CATEGORY_ALL);
        wxTheApp->ProcessIdle();
    }
}

bool PumpUntil(const std::function<bool()>& condition, int timeoutMs) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (true) {
        Pump();
        if (condition()) return true;
        if (std::chrono::steady_clock::now() >= end) return false;
        wxMilliSleep(1);
    }
}

void PumpFor(int milliseconds) {
    PumpUntil([] { return false; }, milliseconds);
}

namespace {

// The clock by which the toolkit lays a window out and paints it. Its declarations come with no package that the toolkit's headers
// need.
class FrameClock {
  public:
    explicit FrameClock(wxWindow* window) {
        static const auto clockOf = Function<void* (*)(void*)>("gtk_widget_get_frame_clock");
        if (window->GetHandle() != nullptr) m_clock = clockOf(window->GetHandle());
        if (m_clock != nullptr) m_last = GetCounter() + kFrames;
    }
    bool IsDone() const {
        static const auto request = Function<void (*)(void*, int)>("gdk_frame_clock_request_phase");
        if (m_clock == nullptr || GetCounter() >= m_last) return true;
        request(m_clock, kLayOutAndPaint);
        return false;
    }
    template <typename Pointer>
    static Pointer Function(const char* name) {
        const auto function = reinterpret_cast<Pointer>(dlsym(RTLD_DEFAULT, name));
        if (function == nullptr) throw std::runtime_error(std::string("the toolkit has no ") + name);
        return function;
    }

  private:
    static constexpr std::int64_t kFrames = 2;  // what the first one lays out may ask for another
    static constexpr int kLayOutAndPaint = 8 | 16 | 64;

    std::int64_t GetCounter() const {
        static const auto counter = Function<std::int64_t (*)(void*)>("gdk_frame_clock_get_frame_counter");
        return counter(m_clock);
    }

    void* m_clock = nullptr;
    std::int64_t m_last = 0;
};

}  // namespace

void PumpFrames() {
    static const auto display = FrameClock::Function<void* (*)()>("gdk_display_get_default");
    static const auto answer = FrameClock::Function<void (*)(void*)>("gdk_display_sync");
    for (int round = 0; round < 2; ++round) {
        answer(display());
        Pump();
        for (const wxWindow* window :
             std::vector<wxWindow*>(wxTopLevelWindows.begin(), wxTopLevelWindows.end())) {
            if (!window->IsShown()) continue;
            const FrameClock clock(const_cast<wxWindow*>(window));
            PumpUntil([&] { return wxTopLevelWindows.Find(window) == nullptr || clock.IsDone(); }, 2000);
        }
    }
    answer(display());
    Pump();
}

void PumpUntilPlaced(const wxWindow* window) {
    int agreed = 0;
    for (wxPoint before(-1, -1); agreed < 3; PumpFrames()) {
        agreed = window->GetScreenPosition() == before ? agreed + 1 : 0;
        before = window->GetScreenPosition();
    }
}

DialogAnswers::DialogAnswers(std::initializer_list<int> codes) {
    for (int code : codes) Add([code](wxDialog*) { return code; });
    Register();
}

DialogAnswers::DialogAnswers(Answer answer) {
    Add(std::move(answer));
    Register();
}

DialogAnswers::~DialogAnswers() {
    Unregister();
    if (!m_answers.empty()) ADD_FAILURE() << m_answers.size() << " expected dialogs did not appear";
}

int DialogAnswers::Enter(wxDialog* dialog) {
    m_seen.push_back(Describe(dialog));
    if (m_answers.empty()) {
        ADD_FAILURE() << "one dialog more than expected: " << m_seen.back();
        return wxID_CANCEL;
    }
    const Answer answer = std::move(m_answers.front());
    m_answers.pop_front();
    const int code = answer(dialog);
    theShownDialog = code == wxID_NONE ? dialog : nullptr;
    return code;
}

namespace {

std::vector<std::string>& CollectedAssertions() {
    static std::vector<std::string> messages;
    return messages;
}

}  // namespace

ExpectedAssertions::ExpectedAssertions() {
    CollectedAssertions().clear();
    theExpectedAssertions = &CollectedAssertions();
}

ExpectedAssertions::~ExpectedAssertions() {
    theExpectedAssertions = nullptr;
}

const std::vector<std::string>& ExpectedAssertions::Messages() const {
    return CollectedAssertions();
}

wxIMPLEMENT_APP_NO_MAIN(TestApp);

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // Nothing of the person who runs the tests is read or written.
    const TemporaryFolder documents;
    const ScopedVariable documentsVariable("ORVANE_DOCUMENTS", (documents / "documents").c_str());
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    const std::string data = (program.parent_path().parent_path() / "data").string();
    if (!getenv("ORVANE_DATA")) setenv("ORVANE_DATA", data.c_str(), 1);
    int toolkitArgc = 1;
    return wxEntry(toolkitArgc, argv);
}
