// What menu commands ask, and that the window and the core go on after each.

#include "tests/orvgui/framefixture.h"

#include <wx/aui/dockart.h>
#include <wx/statusbr.h>

#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/filterspanel.h"
#include "zorbase/files.h"

TEST_F(FrameTest, EveryMenuCommandAsksForItsOwn) {
    const std::pair<int, const char*> choosers[] = {
        {6000, "Load|Choose a file to analyze|"},
        {6001, "Load|Choose a file to analyze|"},
        {6003, "Save|Select a file to save to...|"},
        {6006, "Load|"},
        {6008, "Save|Choose a file to save|"},
        {6028, "Load|Please select a file to extract images from|||All Files (*.*)|*.*"},
        {6029, "Load|Please select a PDF file to extract images from|||PDF Files (*.pdf*)|*.pdf*"}};
    for (const auto& [command, question] : choosers) {
        asked.clear();
        Command(command);
        ASSERT_EQ(1u, asked.size()) << command;
        EXPECT_TRUE(asked[0].starts_with(question)) << asked[0];
        EXPECT_FALSE(core->IsBusy()) << "cancelled";
    }
    chosen = folder.WritePicture("menu.png");
    Command(6001);
    Settle();
    EXPECT_EQ(PathFromWx(core->GetFilename(OrvReference)), chosen);
    EXPECT_EQ(Evidence(), "");
    const std::pair<int, const char*> dialogs[] = {{6029, "Extract Embedded Images From PDF"},
                                                   {wxID_PREFERENCES, "Program Options"},
                                                   {6009, "Generate Report"}};
    for (const auto& [command, title] : dialogs) {
        DialogAnswers answers{wxID_CANCEL};
        Command(command);
        EXPECT_EQ(answers.Seen(), std::vector<std::string>{title}) << command;
        EXPECT_FALSE(core->IsBusy()) << "cancelled";
    }
    launched.clear();
    {
        DialogAnswers answers{wxID_OK};
        Command(OrvCmdOpenSamplesFolder);
        EXPECT_TRUE(launched.empty()) << "there is none";
    }
    MakeFolder(folder / "documents/samples");
    Command(OrvCmdOpenSamplesFolder);
    ASSERT_EQ(1u, launched.size());
    EXPECT_TRUE(launched[0].ends_with("documents/samples")) << launched[0];
}

// An answer that the core waits for and never gets would hold up everything after it.
TEST_F(FrameTest, WhatIsToldIsAnswered) {
    chosen = folder.WritePicture("plain.png");
    {
        DialogAnswers answers{wxID_OK};
        Command(6028);
        ASSERT_TRUE(PumpUntil([&] { return !answers.Seen().empty(); }));
        EXPECT_TRUE(answers.Seen()[0].ends_with("|No embedded images found in file")) << answers.Seen()[0];
    }
    ASSERT_TRUE(PumpUntil([this] { return !core->IsBusy(); }));
    Load(chosen);
    EXPECT_EQ(Evidence(), chosen);
    const int runs = probe->runs;
    for (const int command : {6047, 6046}) {
        WriteFile(PathFromWx(core->GetOutputDir(OrvEvidence)) + "/something", std::string("x"));
        DialogAnswers answers(std::initializer_list<int>{});
        if (command == 6046) answers.Add([](wxDialog*) { return wxID_YES; });
        EXPECT_TRUE(frame->GetFilePanel(OrvEvidence)->RunCommand(command));
        ASSERT_TRUE(PumpUntil([this] { return !core->IsBusy(); })) << command;
        Pump();
    }
    EXPECT_GT(probe->runs, runs);
    EXPECT_FALSE(FolderExists(PathFromWx(core->GetOutputDir(OrvEvidence))));
    core->NewProject();
    ASSERT_TRUE(PumpUntil([this] { return !core->IsBusy(); }));
}

TEST_F(FrameTest, ThePictureIsDescribedWhileItIsAnalysedAgain) {
    Load(folder.WritePicture("one.png"));
    const auto field = [this] {
        return frame->GetStatusBar()->GetStatusText(static_cast<int>(OrvStatusField::Picture)).utf8_string();
    };
    const std::string described = field();
    EXPECT_TRUE(described.starts_with("PNG   16 x 16   8 bit   ")) << described;
    probe->sleepMs = 300;
    const int started = probe->started;
    VecParameter input = probe->GetInputPrototype();
    input[0].SetValue(7);
    core->Configure(probe, -1, input, probe->GetPostProcessingPrototype(), false);
    ASSERT_TRUE(PumpUntil([&] { return probe->started > started; }));
    Pump();
    EXPECT_EQ(field(), described);
    EXPECT_EQ(frame->GetStatusBar()->GetStatusText(static_cast<int>(OrvStatusField::Activity)), "probe");
    Settle();
    probe->sleepMs = 0;
    Load("");
    EXPECT_EQ(field(), "");
}

TEST_F(FrameTest, PanesHaveTheProgramsArt) {
    wxAuiDockArt& art = *Manager().GetArtProvider();
    EXPECT_EQ(art.GetMetric(wxAUI_DOCKART_GRADIENT_TYPE), wxAUI_GRADIENT_NONE);
    EXPECT_EQ(art.GetMetric(wxAUI_DOCKART_CAPTION_SIZE), 24);
    EXPECT_EQ(art.GetMetric(wxAUI_DOCKART_SASH_SIZE), 4);
    EXPECT_EQ(art.GetFont(wxAUI_DOCKART_CAPTION_FONT), frame->GetFont().Bold());
    EXPECT_EQ(Manager().GetPane("Filters").dock_proportion, 3 * Manager().GetPane("Project").dock_proportion);
    EXPECT_EQ(frame->GetStatusBar()->GetFieldsCount(), 4);
}
