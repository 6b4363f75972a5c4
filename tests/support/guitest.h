#pragma once

#include <wx/dialog.h>
#include <wx/modalhook.h>
#include <wx/string.h>

#include <deque>
#include <functional>
#include <string>
#include <vector>

// Helpers of the window tests. They run inside the toolkit's main event loop, on the GUI thread. An assertion of the toolkit, an
// uncaught exception in a handler and a dialog that no DialogAnswers expects each fail the test that runs.

// Delivers what waits: events, timers, idle work.
void Pump();
void PumpFor(int milliseconds);
// Until the display has answered and every shown window has been laid out and painted since.
void PumpFrames();
// Until the window manager has put the window where it stays: distances between places on the screen count from then on.
void PumpUntilPlaced(const wxWindow* window);
// Until the condition holds; false after the time-out.
bool PumpUntil(const std::function<bool()>& condition, int timeoutMs = 10000);

// Answers dialogs as long as it lives, in the order in which the answers were given, without showing them. The test fails when one
// of them was not needed.
class DialogAnswers : public wxModalDialogHook {
  public:
    // Gets the dialog; its result is what ShowModal returns. wxID_NONE shows the dialog for real.
    using Answer = std::function<int(wxDialog*)>;

    DialogAnswers(std::initializer_list<int> codes);
    explicit DialogAnswers(Answer answer);
    ~DialogAnswers() override;

    void Add(Answer answer) { m_answers.push_back(std::move(answer)); }
    // What was asked: "caption|message" of message boxes, the title of other dialogs.
    const std::vector<std::string>& Seen() const { return m_seen; }

  protected:
    int Enter(wxDialog* dialog) override;

  private:
    std::deque<Answer> m_answers;
    std::vector<std::string> m_seen;
};

// Assertions of the toolkit are collected instead of failing the test as long as this lives.
class ExpectedAssertions {
  public:
    ExpectedAssertions();
    ~ExpectedAssertions();
    const std::vector<std::string>& Messages() const;
};
