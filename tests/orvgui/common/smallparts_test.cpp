// The small parts that windows are made of: what they say, ask, measure and tell, by table.

#include <gtest/gtest.h>
#include <wx/frame.h>
#include <wx/msgdlg.h>
#include <wx/textctrl.h>

#include <atomic>
#include <stdexcept>
#include <utility>

#include "orvcore/model/webservices.h"
#include "orvgui/common/backgroundtask.h"
#include "orvgui/common/dragedge.h"
#include "orvgui/common/filedrop.h"
#include "orvgui/common/loadedfiles.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/common/progressdialog.h"
#include "orvgui/common/spreadsheet.h"
#include "orvgui/common/textdialog.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/common/threeway.h"
#include "orvgui/common/visibletext.h"
#include "orvgui/common/webconsent.h"
#include "tests/support/guitest.h"
#include "tests/support/testcore.h"

namespace {

class Frame {
  public:
    Frame() : m_frame(new wxFrame(nullptr, wxID_ANY, "Parts", wxPoint(0, 0), wxSize(500, 400))) {}
    ~Frame() {
        m_frame->Destroy();
        Pump();
    }
    operator wxFrame*() const { return m_frame; }
    wxFrame* operator->() const { return m_frame; }

  private:
    wxFrame* m_frame;
};

const wxString kEllipsis = wxString::FromUTF8("\u2026");

}  // namespace

TEST(VisibleText, ShowsMarksAndKeepsTabsAndLines) {
    const std::pair<const char*, const char*> cases[] = {{"", ""},
                                                         {"plain", "plain"},
                                                         {"a\tb\tc", "a\tb\tc"},
                                                         {"\t", "\t"},
                                                         {"a\t", "a\t"},
                                                         {"two\nlines", "two\nlines"},
                                                         {"a\u202Egpj.exe", "a[U+202E]gpj.exe"},
                                                         {"x\u061Cy\tz\u202E", "x[U+061C]y\tz[U+202E]"}};
    for (const auto& [text, shown] : cases)
        EXPECT_EQ(VisibleText(std::string(text)), wxString::FromUTF8(shown)) << text;
    EXPECT_EQ(EditablePath("/a/b\tc.jpg"), "/a/b\tc.jpg") << "a name without marks stays as it is";
    EXPECT_EQ(EditablePath("/a\u202Eb"), "/a[U+202E]b");
}

TEST(VisibleText, TipsHaveOneShortLine) {
    const wxString words = wxString('a', 40) + " " + wxString('b', 31);  // 72 letters
    const std::pair<wxString, wxString> cases[] = {
        {"short", "short"},
        {words, words},
        {words + "b", wxString('a', 40) + kEllipsis},
        {words + " c", wxString('a', 40) + kEllipsis},
        {wxString('x', 73), wxString('x', 72) + kEllipsis},
        {"first\nsecond", "first" + kEllipsis},
        {"first  \n", "first" + kEllipsis},
    };
    for (const auto& [text, line] : cases) EXPECT_EQ(ShortLine(text), line) << text;
}

TEST(MessageBox, AnyLengthHasAReachableButton) {
    for (const int length : {4000, 4001}) {
        DialogAnswers answers{wxID_OK};
        OrvMessageBox(wxString('x', static_cast<std::size_t>(length)), "Title", wxOK);
        const std::string shown = "Title|" + std::string(4000, 'x') + (length > 4000 ? "\u2026" : "");
        EXPECT_EQ(answers.Seen(), std::vector<std::string>{shown});
    }
}

TEST(MessageBox, AnswersComeBackAsTheyWereGiven) {
    Frame frame;
    const std::pair<int, int> answers[] = {{wxID_YES, wxYES}, {wxID_NO, wxNO}, {wxID_CANCEL, wxCANCEL}};
    for (const auto& [given, told] : answers) {
        const auto expectLabels = [given = given](const wxString& yes, const wxString& no,
                                                  const wxString& cancel) {
            return [=](wxDialog* dialog) {
                const auto* box = dynamic_cast<wxMessageDialog*>(dialog);
                EXPECT_EQ(box->GetYesLabel(), yes);
                EXPECT_EQ(box->GetNoLabel(), no);
                if (!cancel.empty()) {
                    EXPECT_EQ(box->GetCancelLabel(), cancel);
                }
                return given;
            };
        };
        {
            DialogAnswers dialogs(expectLabels("Do", "Leave", ""));
            EXPECT_EQ(OrvQuestionBox(wxString::FromUTF8("What?\u202E"), "Choice", "Do", "Leave", wxNO_DEFAULT,
                                     frame),
                      told);
            EXPECT_EQ(dialogs.Seen()[0], "Choice|What?[U+202E]");
        }
        DialogAnswers dialogs(expectLabels("With", "Without", "Back"));
        EXPECT_EQ(OrvThreeWayBox(frame, "Which?", "Three", "With", "Without", "Back"), told);
        EXPECT_EQ(dialogs.Seen()[0], "Three|Which?");
    }
}

TEST(WebConsent, TheQuestionNamesTenAndCountsTheRest) {
    const auto transfers = [](std::size_t count, bool isImage) {
        std::vector<WebTransfer> all(count);
        for (std::size_t i = 0; i < count; ++i) {
            all[i].service = "Service " + std::to_string(i + 1);
            all[i].host = "h" + std::to_string(i + 1) + ".example";
            all[i].what = "the words";
            all[i].sendsImage = isImage && i == count - 1;
        }
        return all;
    };
    const wxString end = "\n\nNothing has been sent yet. You are asked once for each service and address.";
    EXPECT_EQ(ConsentQuestion(transfers(1, false)),
              wxString::FromUTF8("This would be sent over the network, for the first time to:\n\n"
                                 "\u2022 Service 1 (h1.example): the words.") +
                  end);
    EXPECT_TRUE(
        ConsentQuestion(transfers(2, true)).StartsWith("The picture itself would leave this computer."));
    const wxString ten = ConsentQuestion(transfers(10, false));
    EXPECT_TRUE(ten.Contains("Service 10 (") && !ten.Contains("more")) << ten;
    const wxString twelve = ConsentQuestion(transfers(12, false));
    EXPECT_TRUE(twelve.Contains("Service 10 (") && !twelve.Contains("Service 11")) << twelve;
    EXPECT_TRUE(twelve.EndsWith("\nand 2 more" + end)) << twelve;
    // Told once, each for itself; the oldest of more than a thousand go first.
    const std::vector<WebTransfer> two = transfers(2, true);
    const Json record = AddConsent(AddConsent(Json::object(), {two[0]}), {two[0]});
    EXPECT_EQ(record["agreed"].size(), 1U);
    const std::vector<WebTransfer> left = FindUnagreed(two, record);
    ASSERT_EQ(left.size(), 1U);
    EXPECT_EQ(left[0].host, "h2.example");
    const Json many = AddConsent(record, transfers(1001, false));
    EXPECT_EQ(many["agreed"].size(), 1000U);
    EXPECT_EQ(many["agreed"][0]["host"], "h2.example");
    EXPECT_EQ(many["agreed"][999]["host"], "h1001.example");
    for (const Json& damaged : {Json(), Json(3), Json{{"agreed", "yes"}}})
        EXPECT_EQ(FindUnagreed(two, damaged).size(), 2U) << damaged.dump();
}

// In a work of 100 steps that goes on evenly the estimate comes at once and stays; a change counts at the third vote.
TEST(ProgressEstimate, ChangesAreTakenAtTheThirdVote) {
    struct Step {
        int value;
        unsigned long seconds, paused, estimated, remaining;
    };
    const std::vector<Step> works[] = {
        {{10, 1, 0, 10, 9}, {10, 1, 0, 10, 9}, {20, 2, 0, 10, 8}, {30, 3, 0, 10, 7}, {40, 4, 0, 10, 6}},
        // The second half is slower: 12, 13, 14 of 10 are votes for more; the third one is taken.
        {{30, 3, 0, 10, 7}, {40, 4, 0, 10, 6}, {40, 5, 0, 10, 5}, {46, 6, 0, 10, 4}, {50, 7, 0, 14, 7}},
        // One vote that is followed by the same value again is no vote.
        {{30, 3, 0, 10, 7}, {40, 5, 0, 10, 5}, {60, 6, 0, 10, 4}, {58, 7, 0, 10, 3}, {64, 8, 0, 10, 2}},
        // A pause is taken out of the work and added again.
        {{50, 3, 1, 5, 2}, {50, 13, 11, 15, 2}},
        {{50, 2, 0, 4, 2}, {100, 2, 0, 2, 0}},
    };
    for (std::size_t i = 0; i < std::size(works); ++i) {
        ProgressEstimate estimate;
        for (const Step& step : works[i]) {
            const auto times = estimate.Update(step.value, 100, step.seconds, step.paused);
            EXPECT_EQ(times.estimated, step.estimated) << "work " << i << " after " << step.seconds << " s";
            EXPECT_EQ(times.remaining, step.remaining) << "work " << i << " after " << step.seconds << " s";
        }
    }
}

TEST(DragEdge, TellsTheDistanceFromThePlaceOfThePress) {
    Frame frame;
    frame->Show();
    PumpUntilPlaced(frame.operator->());
    for (const wxOrientation direction : {wxHORIZONTAL, wxVERTICAL}) {
        int began = 0;
        std::vector<int> moves;
        auto* edge = new DragEdge(
            frame, direction, [&] { ++began; }, [&](int distance) { moves.push_back(distance); });
        EXPECT_EQ(edge->GetMinSize(), direction == wxHORIZONTAL ? wxSize(6, -1) : wxSize(-1, 6));
        const auto send = [edge](wxEventType type, int x, int y) {
            wxMouseEvent event(type);
            event.SetPosition(wxPoint(x, y));
            edge->ProcessWindowEvent(event);
        };
        send(wxEVT_MOTION, 50, 60);
        EXPECT_TRUE(moves.empty()) << "not pressed";
        send(wxEVT_LEFT_DOWN, 3, 4);
        EXPECT_EQ(began, 1);
        send(wxEVT_MOTION, 13, 24);
        send(wxEVT_LEFT_UP, -7, -6);
        send(wxEVT_MOTION, 50, 60);
        EXPECT_EQ(moves,
                  direction == wxHORIZONTAL ? (std::vector<int>{10, -10}) : (std::vector<int>{20, -10}));
        EXPECT_FALSE(edge->HasCapture());
    }
}

TEST_F(CoreTest, DroppedFilesGoToTheirSlotAndProjectsAreOpened) {
    const std::string picture = folder.WritePicture("a.png");
    FilePanelDropTarget evidence(OrvEvidence);
    FilePanelDropTarget reference(OrvReference);
    EXPECT_FALSE(evidence.OnDropFiles(0, 0, {}));
    wxArrayString files;
    files.Add(PathToWx(picture));
    files.Add(PathToWx(folder.WritePicture("b.png")));
    EXPECT_TRUE(reference.OnDropFiles(0, 0, files));
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(core->GetFilename(OrvReference), PathToWx(picture)) << "the first one";
    EXPECT_EQ(core->GetFilename(OrvEvidence), "");
    EXPECT_TRUE(evidence.OnDropFiles(0, 0, files));
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(core->GetFilename(OrvEvidence), PathToWx(picture));
    core->SaveProject(PathToWx(folder / "case.zop"));
    ASSERT_TRUE(sink.PumpUntilIdle());
    core->NewProject();
    ASSERT_TRUE(sink.PumpUntilIdle());
    wxArrayString project;
    project.Add(PathToWx(folder / "case.zop"));
    EXPECT_TRUE(evidence.OnDropFiles(0, 0, project));
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(core->GetProject().GetPath(), folder / "case.zop");
    for (const auto& [name, isProject] :
         {std::pair{"a.zop", true}, {"A.ZOP", true}, {"zop", false}, {"a.zop.png", false}})
        EXPECT_EQ(IsProjectFilename(name), isProject) << name;
}

TEST_F(CoreTest, AResultIsForTheLoadedFilesOnlyWhereEachSlotIsTheSame) {
    EXPECT_FALSE(IsForLoadedFiles(nullptr, *core));
    Load(folder.WritePicture("a.png"));
    Configure(1);
    ASSERT_TRUE(sink.PumpUntilIdle());
    const OrvFilterResultPtr alone = probe->GetResult();
    EXPECT_TRUE(IsForLoadedFiles(alone, *core));
    Load(folder.WritePicture("b.png"), OrvReference);
    EXPECT_FALSE(IsForLoadedFiles(alone, *core)) << "a reference has come";
    core->EnableReference(false);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_TRUE(IsForLoadedFiles(alone, *core)) << "it is switched off";
    core->EnableReference(true);
    Load("", OrvEvidence);
    Configure(1);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_TRUE(IsForLoadedFiles(probe->GetResult(), *core)) << "the reference alone is a file";
    Load("", OrvReference);
    EXPECT_FALSE(IsForLoadedFiles(probe->GetResult(), *core));
    EXPECT_FALSE(IsForLoadedFiles(std::make_shared<OrvFilterResult>(), *core)) << "of no file at all";
}

// What ended but was not told yet is no longer wanted once other work has begun.
TEST(BackgroundTask, OnlyTheNewestWorkIsTold) {
    wxEvtHandler owner;
    BackgroundTask task(owner);
    std::vector<std::string> told;
    const auto start = [&](const char* name, const std::function<void()>& work) {
        std::atomic<bool> hasEnded{false};
        task.Start([&](const std::stop_token&) { hasEnded = true, work(); },
                   [&told, name](const std::string& error) { told.push_back(name + error); });
        while (!hasEnded) wxMilliSleep(1);
    };
    for (int i = 0; i < 20; ++i) {
        start("first", [] {});
        wxMilliSleep(5);  // the end of its thread
        start("second", [] { throw std::runtime_error(" failed"); });
        EXPECT_TRUE(task.IsRunning());
        EXPECT_TRUE(PumpUntil([&] { return !told.empty(); }));
        Pump();
        EXPECT_EQ(std::exchange(told, {}), std::vector<std::string>{"second failed"});
        EXPECT_FALSE(task.IsRunning());
    }
    start("stopped", [] {});
    wxMilliSleep(5);
    task.Stop();
    Pump();
    EXPECT_TRUE(told.empty());
}

TEST(TextFields, HaveRoomForTheirTextAndLeaveEnterToTheDialog) {
    Frame frame;
    auto* field = new wxTextCtrl(frame, wxID_ANY, "text");
    EXPECT_EQ(FieldSize(*field, 77).x, 77);
    // Widths grow with texts that are enlarged, by half here, and not with those that are a little larger than usual.
    for (const auto& [points, grows] : {std::pair{10, false}, {11, false}, {15, true}}) {
        auto* other = new wxTextCtrl(frame, wxID_ANY);
        other->SetFont(wxFontInfo(points).Family(wxFONTFAMILY_SWISS));
        const int width = TextWidth(*other, 100);
        EXPECT_EQ(width > 100, grows) << points;
        EXPECT_EQ(width, grows ? 100 * other->GetCharHeight() / 17 : 100) << points;
        EXPECT_EQ(FieldSize(*other, 100).x, width);
    }
    EXPECT_GE(FieldSize(*field, 77).y, std::max(field->GetBestSize().y, field->GetCharHeight() + 6));
    EXPECT_LE(FieldSize(*field, 77).y, field->GetBestSize().y + field->GetCharHeight());
    const struct {
        int key;
        bool isControl, isConfirmed;
    } keys[] = {{WXK_RETURN, false, true},
                {WXK_NUMPAD_ENTER, false, true},
                {WXK_RETURN, true, false},
                {'A', false, false}};
    for (const auto& k : keys) {
        wxKeyEvent event(wxEVT_CHAR_HOOK);
        event.m_keyCode = k.key;
        event.SetControlDown(k.isControl);
        EXPECT_EQ(ConfirmsDialog(event), k.isConfirmed) << k.key;
    }
}

TEST(TextDialog, ShowsTheWholeTextInTheRightPitch) {
    for (const bool isFixed : {false, true}) {
        TextDialog dialog(nullptr, "Title", "one\ntwo", isFixed);
        EXPECT_EQ(dialog.GetTitle(), "Title");
        EXPECT_EQ(dialog.GetSize(), wxSize(720, 420));
        EXPECT_EQ(dialog.GetMinSize(), wxSize(320, 200));
        EXPECT_EQ(dialog.GetEscapeId(), wxID_CLOSE);
        wxTextCtrl* field = nullptr;
        for (wxWindow* child : dialog.GetChildren())
            if (auto* text = dynamic_cast<wxTextCtrl*>(child)) field = text;
        ASSERT_NE(field, nullptr);
        EXPECT_EQ(field->GetValue(), "one\ntwo");
        EXPECT_FALSE(field->IsEditable());
        EXPECT_EQ(field->GetFont().GetFamily() == wxFONTFAMILY_TELETYPE, isFixed);
    }
}

TEST(Spreadsheet, IsOpenedByWhoeverIsSet) {
    EXPECT_EQ(OpenInSpreadsheet("/a"), SpreadsheetResult::NotInstalled);
    wxString asked;
    SetSpreadsheetOpener([&](const wxString& file) {
        asked = file;
        return SpreadsheetResult::NotOpened;
    });
    EXPECT_EQ(OpenInSpreadsheet("/a/table"), SpreadsheetResult::NotOpened);
    EXPECT_EQ(asked, "/a/table");
    SetSpreadsheetOpener({});
    EXPECT_EQ(OpenInSpreadsheet("/a"), SpreadsheetResult::NotInstalled);
}
