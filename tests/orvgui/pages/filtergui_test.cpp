#include "orvgui/pages/filtergui.h"

#include <gtest/gtest.h>
#include <wx/button.h>
#include <wx/combobox.h>
#include <wx/textctrl.h>

#include "orvgui/common/fileselectors.h"
#include "orvgui/common/statictext.h"
#include "orvgui/pages/filterguitext.h"
#include "tests/orvgui/pagefixture.h"
#include "tests/support/runfilter.h"
#include "zorbase/zorexception.h"

namespace {

// Two inputs, one post-processing value, one output; counts its runs and fails when it is told to.
class SmallFilter : public OrvFilter {
  public:
    SmallFilter() : OrvFilter("Small", "small") {
        Describe("Test", "A description & no mark-up <b>.");
        SetParameters(
            {Parameter::Choice("mode", "Mode", 0, {"a", "b"}), Parameter::Int("level", "Level", 1, 0, 9),
             Parameter::Region("selection", "Selection", Roi(), ParameterType::OrvRoi)},
            {Parameter::Int("gain", "Gain", 2, 1, 9)},
            {Parameter::Output(ParameterType::OutputInt64, "sum", "Sum")});
    }
    mutable std::atomic<int> runs{0};

  protected:
    void Compute(const OrvLoadedFile&, const VecParameter& input, const OrvJob&,
                 OrvSlotResult& result) const override {
        ++runs;
        if (input.Get<int>("level") == 9) ZOR_THROW(Format, "Level nine is too much.");
        result.output.Find("sum")->SetValue(
            std::int64_t{input.Get<int>("mode") * 100 + input.Get<int>("level")});
    }
};

class FilterGuiTest : public PageFixture {
  protected:
    void SetUp() override {
        PageFixture::SetUp();
        filter = Register<SmallFilter>();
    }
    template <typename Window>
    static std::vector<Window*> Children(wxWindow* parent) {
        std::vector<Window*> found;
        for (wxWindow* child : parent->GetChildren()) {
            if (auto* window = dynamic_cast<Window*>(child)) found.push_back(window);
        }
        return found;
    }
    void Choose(wxWindow* page, int index) {
        wxComboBox* box = Children<wxComboBox>(page).at(0);
        box->SetSelection(index);
        wxCommandEvent event(wxEVT_COMBOBOX, box->GetId());
        event.SetEventObject(box);
        box->GetEventHandler()->ProcessEvent(event);
    }
    static wxString OutputText(wxWindow* page) { return Children<wxTextCtrl>(page).back()->GetValue(); }

    SmallFilter* filter = nullptr;
};

// Writes down which hooks are called, in order.
class RecordingPage : public OrvFilterGui {
  public:
    using OrvFilterGui::OrvFilterGui;
    std::vector<std::string> calls;

    void CreateSizer() override {
        Note("sizer");
        OrvFilterGui::CreateSizer();
    }
    void CreateControlsDescription() override {
        Note("description");
        OrvFilterGui::CreateControlsDescription();
    }
    void CreateControlsCustom() override { Note("custom"); }
    void CreateControlsInput() override {
        Note("input");
        OrvFilterGui::CreateControlsInput();
    }
    void CreateControlsPostProcessing() override {
        Note("post");
        OrvFilterGui::CreateControlsPostProcessing();
    }
    void CreateControlsCustom2() override { Note("custom2"); }
    void CreateControlsOutput() override {
        Note("output");
        OrvFilterGui::CreateControlsOutput();
    }
    void UpdateControlsInput() override {
        Note("update input");
        OrvFilterGui::UpdateControlsInput();
    }
    void UpdateControlsPostProcessing() override {
        Note("update post");
        OrvFilterGui::UpdateControlsPostProcessing();
    }
    void UpdateControlsOutput() override {
        Note("update output");
        OrvFilterGui::UpdateControlsOutput();
    }
    void UpdateControlsCustom() override { Note("update custom"); }
    void UpdatePlotLayer() override { Note("layer"); }
    void ConfigureViewer(int mode, bool keep) override {
        Note("viewer " + std::to_string(mode) + (keep ? " keep" : ""));
    }
    void ConfigurePlots() override { Note("plots"); }
    void RefreshControlsCustom() override { Note("refresh custom"); }
    void RefreshViewerPanel() override {
        Note("refresh");
        OrvFilterGui::RefreshViewerPanel();
    }

    using OrvFilterGui::m_inputSizer;

  private:
    void Note(const std::string& call) { calls.push_back(call); }
};

TEST_F(FilterGuiTest, BuildsAndUpdatesInTheOrderThatPagesRelyOn) {
    auto* page = new RecordingPage(frame, filter);
    EXPECT_TRUE(page->GetChildren().empty()) << "constructing makes no widgets";
    page->Hide();
    page->Init();
    EXPECT_EQ(page->calls, (std::vector<std::string>{"sizer", "description", "custom", "input", "post",
                                                     "custom2", "output", "update input", "update post",
                                                     "update output", "update custom", "layer", "viewer -1",
                                                     "plots", "refresh custom", "refresh"}));
    EXPECT_TRUE(page->IsShown());
    EXPECT_EQ(page->GetName(), "Small");
    EXPECT_EQ(page->GetEvtHandler(), page);
    EXPECT_EQ(Children<OrvStaticText>(page).front()->GetText(), "A description & no mark-up <b>.");
    // "Reset" stands right of everything in the first row.
    wxButton* reset = Children<wxButton>(page).at(0);
    EXPECT_EQ(reset->GetLabel(), "Reset");
    EXPECT_EQ(page->m_inputSizer->GetItemPosition(reset), wxGBPosition(0, 3));
    const std::size_t widgets = page->GetChildren().size();
    page->UpdateGui();
    EXPECT_EQ(page->GetChildren().size(), widgets) << "an update rebuilds nothing";
    page->ResetViewerPanel();
    EXPECT_FALSE(page->IsShown());
}

TEST_F(FilterGuiTest, EveryBindingAppliesButOneChangeIsComputedOnce) {
    auto* page = MakePage<OrvFilterGuiText>(filter);
    LoadFile(OrvEvidence, 16);
    core->ActivateFilter(filter, -1);
    Settle();
    EXPECT_EQ(OutputText(page), "1");
    const int runs = filter->runs;
    completed = 0;

    Choose(page, 1);
    Settle();
    EXPECT_EQ(filter->GetParametersInput().Get<int>("mode"), 1);
    EXPECT_EQ(OutputText(page), "101");
    // Three inputs and one post-processing value: four bindings, four requests, one computation.
    EXPECT_EQ(filter->runs, runs + 1);
    EXPECT_GE(completed, 1);
    EXPECT_LE(completed, 4);
}

// Counts what the bindings of one page call.
class CountingPage : public OrvFilterGuiText {
  public:
    using OrvFilterGuiText::OrvFilterGuiText;
    int changes = 0;
    void OnParameterChange(wxCommandEvent& event) override {
        ++changes;
        OrvFilterGuiText::OnParameterChange(event);
    }
};

TEST_F(FilterGuiTest, OneChangeCallsEveryBinding) {
    auto* page = MakePage<CountingPage>(filter);
    Choose(page, 1);
    EXPECT_EQ(page->changes, 4);
}

TEST_F(FilterGuiTest, ResetBringsBackTheDefaults) {
    auto* page = MakePage<OrvFilterGuiText>(filter);
    VecParameter post = filter->GetParametersPostProcessing();
    post.Find("gain")->SetValue(7);
    core->Configure(filter, -1, filter->GetParametersInput(), post, false);
    Settle();
    page->UpdateGui();
    completed = 0;
    wxCommandEvent event(wxEVT_BUTTON);
    page->OnParametersPostProcessingReset(event);
    Settle();
    EXPECT_EQ(filter->GetParametersPostProcessing().Get<int>("gain"), 2);
    EXPECT_EQ(completed, 1) << "configured once";
}

TEST_F(FilterGuiTest, AValueThatCannotBeTakenIsNotHandedOn) {
    auto* page = MakePage<OrvFilterGuiText>(filter);
    wxTextCtrl* level = Children<wxTextCtrl>(page).at(0);
    level->SetValue("12");
    page->Apply();
    EXPECT_EQ(filter->GetParametersInput().Get<int>("level"), 1);
    level->SetValue("3");
    page->Apply();
    EXPECT_EQ(filter->GetParametersInput().Get<int>("level"), 3);
    // What comes after the work is handed on as well.
    for (wxTextCtrl* field : Children<wxTextCtrl>(page))
        if (field->GetValue() == "2" && field->IsEditable()) field->SetValue("7");
    page->Apply();
    EXPECT_EQ(filter->GetParametersPostProcessing().Get<int>("gain"), 7);
    EXPECT_EQ(filter->GetParametersInput().Get<int>("level"), 3);
    Settle();
}

TEST_F(FilterGuiTest, SaysWhyThereIsNothingToSee) {
    auto* page = MakePage<OrvFilterGuiText>(filter);
    const auto notice = [page] {
        wxString text;
        for (const OrvStaticText* label : Children<OrvStaticText>(page)) {
            if (label->IsShown()) text += label->GetText() + "|";
        }
        return text;
    };
    wxTextCtrl* output = Children<wxTextCtrl>(page).back();
    EXPECT_TRUE(notice().Contains(core->GetContext().GetNoDataAvailableMessage()));
    EXPECT_FALSE(output->IsShown());
    LoadFile(OrvEvidence, 16);
    core->ActivateFilter(filter, -1);
    Settle();
    EXPECT_FALSE(notice().Contains(core->GetContext().GetNoDataAvailableMessage()));
    EXPECT_TRUE(output->IsShown());
    Children<wxTextCtrl>(page).at(0)->SetValue("9");
    page->Apply();
    Settle();
    page->UpdateGui();
    EXPECT_TRUE(notice().Contains("Level nine is too much.")) << notice();
}

TEST_F(FilterGuiTest, TheSelectionGoesToTheInputThatFollowsIt) {
    auto* page = MakePage<OrvFilterGuiText>(filter);
    completed = 0;
    page->ApplySelection(Roi(1, 2, 3, 4));
    page->ApplySelection(Roi(1, 2, 3, 4));
    EXPECT_EQ(filter->GetParametersInput().Get<Roi>("selection"), Roi(1, 2, 3, 4));
    Settle();
    EXPECT_EQ(completed, 1);
}

TEST_F(FilterGuiTest, APageThatGoesIsForgottenByItsFilter) {
    auto* page = dynamic_cast<OrvFilterGui*>(filter->CreateAnalysisPanel(frame, filter));
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(filter->GetAnalsyisFilterGui(), page);
    page->Init();
    page->Destroy();
    Pump();
    EXPECT_EQ(filter->GetAnalsyisFilterGui(), nullptr);
}

// Until its result is there a page says that it comes, and after a failure nothing of the kind.
TEST_F(FilterGuiTest, WhatIsBeingWorkedOutIsNoMissingData) {
    class SlowFilter : public OrvFilter {
      public:
        SlowFilter() : OrvFilter("Slow", "slow") {
            SetParameters({Parameter::Bool("fails", "Fails", false)}, {},
                          {Parameter::Output(ParameterType::OutputInt64, "sum", "Sum")});
        }
        mutable std::atomic<bool> isRunning{false};
        mutable std::atomic<bool> mayEnd{false};

      protected:
        void Compute(const OrvLoadedFile&, const VecParameter& input, const OrvJob& job,
                     OrvSlotResult& result) const override {
            for (isRunning = true; !mayEnd; wxMilliSleep(2)) job.CheckAbort();
            if (input.Get<bool>("fails")) ZOR_THROW(Format, "It was asked to.");
            result.SetCount("sum", 7);
        }
    };
    auto* slow = Register<SlowFilter>();
    auto* page = MakePage<OrvFilterGuiText>(slow);
    const auto notice = [&page] {
        for (const OrvStaticText* text : Children<OrvStaticText>(page))
            if (text->IsShown() && text->GetText().length() > 10) return text->GetText();
        return wxString();
    };
    EXPECT_EQ(notice(), "No data available for this file");
    WriteImage(Image(cv::Mat(8, 16, CV_8UC3, cv::Scalar(1, 2, 3))), folder / "slow.png");
    for (const bool fails : {true, false}) {
        VecParameter input = slow->GetParametersInput();
        input.Find("fails")->SetValue(fails);
        slow->isRunning = slow->mayEnd = false;
        core->SetFile(wxString(), OrvEvidence);
        Settle();
        page->UpdateGui();
        EXPECT_EQ(notice(), "No data available for this file");
        core->SetFile(PathToWx(folder / "slow.png"), OrvEvidence);
        core->Configure(slow, -1, input, {}, false);
        ASSERT_TRUE(PumpUntil([slow] { return slow->isRunning.load(); }));
        page->UpdateGui();
        EXPECT_EQ(notice(), "Working out the result...");
        slow->mayEnd = true;
        Settle();
        EXPECT_EQ(notice().Contains("It was asked to."), fails) << notice();
        EXPECT_EQ(notice().empty(), !fails) << notice();
    }
}

TEST_F(FilterGuiTest, APageHigherThanItsWindowScrolls) {
    auto* every = Register<EveryTypeFilter>();
    auto* page = MakePage<OrvFilterGuiText>(every);
    ShowFrame();
    frame->SetClientSize(frame->GetClientSize().x, 400);
    PumpFrames();
    page->UpdateGui();
    Pump();
    EXPECT_GT(page->GetVirtualSize().GetHeight(), page->GetClientSize().GetHeight());
    // Nothing is cut off on the right.
    for (const wxWindow* child : page->GetChildren()) {
        if (!child->IsShown()) continue;
        EXPECT_LE(child->GetRect().GetRight(), page->GetVirtualSize().GetWidth());
    }
}

// The page of the signatures builds their collection from a folder that the user chooses; without a choice nothing runs.
TEST_F(FilterGuiTest, AToolForFoldersAsksForOneAndRuns) {
    const TemporaryFolder pictures;
    WriteFile(pictures / "notes.txt", std::string("no picture"));
    wxString chosen;
    wxString question;
    const OrvSelectorAnswer before =
        SetSelectorAnswer([&](OrvSelectorKind kind, const wxString& message, const wxString&, const wxString&,
                              const wxString&) {
            EXPECT_EQ(kind, OrvSelectorKind::Folder);
            question = message;
            return chosen;
        });
    std::string told;
    frame->Bind(wxEVT_ORV_COMMAND, [&](OrvCommandEvent& event) {
        if (event.GetId() == OrvEventCommandExecuted) told = FromWx(event.GetMessage());
        event.Skip();
    });
    auto* page =
        MakePage<OrvFilterGuiText>(core->GetContext().RegisterFilter(MakeFilter("compression-signature")));
    wxButton* tool = nullptr;
    for (wxButton* button : Children<wxButton>(page))
        if (button->GetLabel() == "Add A Folder To The Collection...") tool = button;
    ASSERT_NE(tool, nullptr);
    const auto press = [&] {
        wxCommandEvent event(wxEVT_BUTTON, tool->GetId());
        tool->ProcessWindowEvent(event);
        Settle();
    };
    press();
    EXPECT_EQ(told, "");
    EXPECT_EQ(question, "Select the folder of pictures whose cameras are known");
    chosen = PathToWx(pictures.Path());
    press();
    EXPECT_NE(told.find("nothing was added"), std::string::npos) << told;
    SetSelectorAnswer(before);
}

TEST_F(FilterGuiTest, WithoutAMainFrameEveryPageIsOnTop) {
    EXPECT_TRUE(OrvFilterGui::IsTopWindow());
}

}  // namespace
