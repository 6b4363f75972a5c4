#include "orvcore/model/project.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include "orvcore/filter/mapranges.h"
#include "orvcore/model/log.h"
#include "tests/orvcore/model/projectfixture.h"
#include "tests/support/damage.h"
#include "tests/support/fulldisk.h"
#include "tests/support/testcore.h"

using testing::HasSubstr;

TEST_F(Project, FilesAndBookmarksComeBackWhateverTheirNames) {
    const std::string evidence = folder.WritePicture("photo \xFF\xFE ä \"x\".png", 10);
    const std::string reference = folder.WritePicture("b.png", 200);
    Load(evidence);
    Load(reference, OrvReference);
    Configure(7, 3);
    core->AddBookmark(ToWx("<b>ä</b>"), ToWx("line\nline"));
    EXPECT_EQ(SaveProject(folder / "case.zop"), "");
    EXPECT_TRUE(core->GetProject().IsSaved());
    core->NewProject();
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_FALSE(core->HasFile(OrvEvidence));
    EXPECT_TRUE(core->GetProject().GetBookmarks().empty());
    Configure(1);

    EXPECT_EQ(LoadProject(folder / "case.zop"), "");
    ASSERT_TRUE(core->HasFile(OrvEvidence) && core->HasFile(OrvReference));
    EXPECT_EQ(core->GetFile(OrvEvidence)->GetPath(), evidence);
    EXPECT_EQ(core->GetFile(OrvReference)->GetPath(), reference);
    EXPECT_TRUE(core->GetProject().IsSaved());
    ASSERT_EQ(core->GetProject().GetBookmarks().size(), 1U);
    EXPECT_EQ(core->GetProject().GetBookmarks()[0].name, "<b>ä</b>");
    EXPECT_EQ(core->GetProject().GetBookmarks()[0].note, "line\nline");

    Load("", OrvReference);
    core->ShowBookmark(0);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_TRUE(core->HasFile(OrvReference));
    EXPECT_EQ(probe->GetParametersInput().Get<int>("value"), 7);
    EXPECT_EQ(probe->GetParametersPostProcessing().Get<int>("gain"), 3);
}

TEST_F(Project, AnUnreadableProjectChangesNothing) {
    Load(folder.WritePicture("a.png"));
    SaveProject(folder / "good.zop");
    const std::string good = ReadFile(folder / "good.zop");
    const OrvFilePtr before = core->GetFile(OrvEvidence);
    const std::pair<std::string, const char*> files[] = {
        {"", "not loaded"},
        {good.substr(0, good.size() / 2), "not loaded"},
        {"{}", "not a project file"},
        {R"({"format":"orvane-project","version":3,"program":"Orvane 9.1"})",
         "newer version of the program (Orvane 9.1, project format 3"},
        {R"({"format":"orvane-project","version":4294967297})", "newer version"},
        {R"({"format":"orvane-project","version":1,"bookmarks":[1]})", "bookmark"},
        {R"({"format":"orvane-project","version":1,"bookmarks":{}})", "bookmarks"},
        {R"({"format":"orvane-project","version":1,"evidence":{"path":{"hex":1}}})", "path"},
        {R"({"format":"orvane-project","version":1,"evidence":{"path":{"hex":"6"}}})", "path"},
        {R"({"format":"orvane-project","version":1,"evidence":{"path":{"hex":"zz"}}})", "path"},
        {R"({"format":"orvane-project","version":2,"evidence":{"path":"a\u0000b"}})", "path"},
        {R"({"format":"orvane-project","version":2,"bookmarks":[{"view":{"zoom":1e99}}]})", "zoom"},
        {R"({"format":"orvane-project","version":2,"bookmarks":[{"view":{"mode":-2}}]})", "mode"},
        {R"({"format":"orvane-project","version":2,"bookmarks":[{"view":{"selection":{"x":1.5}}}]})",
         "\"x\""},
        {R"({"format":"orvane-project","version":2,"case":{"exhibits":[[]]}})", "exhibit"},
        {R"({"format":"orvane-project","version":2,"marks":[{"kind":"ellipse"}]})", "mark"},
        {R"({"format":"orvane-project","version":2,"state":7})", "state"},
    };
    for (const auto& [text, expected] : files) {
        WriteFile(folder / "bad.zop", text);
        EXPECT_THAT(LoadProject(folder / "bad.zop"), HasSubstr(expected)) << text;
        EXPECT_EQ(core->GetFile(OrvEvidence), before) << text;
        EXPECT_EQ(core->GetProject().GetPath(), folder / "good.zop") << text;
        EXPECT_EQ(ReadFile(folder / "bad.zop"), text) << "left untouched";
    }
    EXPECT_THAT(LoadProject(folder / "none.zop"), HasSubstr("none.zop"));
    EXPECT_EQ(core->GetFile(OrvEvidence), before);
}

TEST_F(Project, MissingAndChangedFilesAreToldAndTheRestIsOpened) {
    const std::string evidence = folder.WritePicture("a.png", 10);
    const std::string reference = folder.WritePicture("b.png", 200);
    Load(evidence);
    Load(reference, OrvReference);
    const std::string oldHash = core->GetFile(OrvEvidence)->GetSha256();
    SaveProject(folder / "case.zop");
    core->NewProject();
    ASSERT_TRUE(sink.PumpUntilIdle());
    folder.WritePicture("a.png", 99);
    std::filesystem::remove(reference);
    std::string shownWhenTold = "nothing was told";
    sink.handle = [&](OrvCommandEvent& event) {
        if (event.GetError() != 0) shownWhenTold = FromWx(core->GetFilename(OrvEvidence));
        core->PostResponse();
    };

    const std::string told = LoadProject(folder / "case.zop");
    EXPECT_THAT(told, HasSubstr("b.png"));
    EXPECT_THAT(told, HasSubstr("has changed"));
    EXPECT_EQ(shownWhenTold, "") << "told before the changed file is shown";
    EXPECT_EQ(core->GetProject().GetFileSha256(OrvEvidence), oldHash) << "what was remembered stays";
    EXPECT_EQ(core->GetProject().GetFilePath(OrvReference), reference) << "what is missing is not forgotten";
    EXPECT_THAT(told, HasSubstr(oldHash));
    ASSERT_TRUE(core->HasFile(OrvEvidence));
    EXPECT_THAT(told, HasSubstr(core->GetFile(OrvEvidence)->GetSha256()));
    EXPECT_FALSE(core->HasFile(OrvReference));
}

TEST_F(Project, NothingIsSavedOverAFileThatABookmarkNames) {
    const std::string marked = folder.WritePicture("marked.png", 10);
    std::filesystem::create_hard_link(marked, folder / "other.png");
    Load(marked);
    core->AddBookmark("mark", "");
    ASSERT_TRUE(sink.PumpUntilIdle());
    SaveProject(folder / "case.zop");
    const auto replace = [&](const std::string& path) {
        return FailureOf([&] { core->SaveConfigurations(PathToWx(path)); });
    };
    for (const char* step : {"the slot holds another file", "the project was loaded again"}) {
        if (std::string(step).starts_with("the slot"))
            Load(folder.WritePicture("now.png", 20));
        else
            LoadProject(folder / "case.zop");
        EXPECT_THAT(replace(marked), HasSubstr("never written to")) << step;
        EXPECT_THAT(replace(folder / "other.png"), HasSubstr("never written to")) << step;
        EXPECT_EQ(SaveProject(folder / "case.zop"), "") << "a project replaces itself";
    }
    Load("");
    core->DeleteBookmark(0);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(replace(folder / "other.png"), "") << "named by nothing any more";
}

TEST_F(Project, NothingIsSavedOverALoadedFile) {
    const std::string evidence = folder.WritePicture("a.png", 10);
    const std::string reference = folder.WritePicture("b.png", 20);
    std::filesystem::create_symlink(evidence, folder / "link.zop");
    std::filesystem::create_hard_link(reference, folder / "hard.zop");
    Load(evidence);
    Load(reference, OrvReference);
    const std::string bytes = ReadFile(evidence);
    for (const char* name : {"a.png", "b.png", "link.zop", "hard.zop", "./x/../a.png"}) {
        if (std::string(name).find('x') != std::string::npos) MakeFolder(folder / "x");
        const std::string path = folder / name;
        EXPECT_THAT(SaveProject(path), HasSubstr("never written to")) << name;
        EXPECT_THAT(FailureOf([&] { core->SaveConfigurations(PathToWx(path)); }),
                    HasSubstr("never written to"));
        EXPECT_THAT(FailureOf([&] { core->GenerateReport(PathToWx(path)); }), HasSubstr("never written to"));
        EXPECT_THAT(FailureOf([&] { core->SaveFilterResult(PathToWx(path)); }),
                    HasSubstr("never written to"));
    }
    EXPECT_EQ(ReadFile(evidence), bytes);
}

// Everything that a project keeps, through its text and back.
TEST(ProjectText, KeepsEverything) {
    OrvProject project;
    const OrvCaseFile file{"/a/\xFF.jpg", "../\xFF.jpg", 1234567890123, std::string(64, 'a')};
    project.SetFile(OrvEvidence, file);
    OrvBookmark bookmark;
    bookmark.name = "n";
    bookmark.note = "a\nb";
    bookmark.filterId = "error-level";
    bookmark.filterVersion = 7;
    bookmark.programVersion = "Orvane 1";
    bookmark.madeOn = "2026-11-22T07:33:08Z";
    bookmark.input = Json{{"quality", 90}};
    bookmark.file[OrvReference] = file;
    bookmark.isReferenceEnabled = false;
    bookmark.view = {3, false, 2.5, 100.25, 50.5, {1, 2, 3, 4}, "Map", 40, true};
    bookmark.mapRanges = Json{{"Map", {-1.5, 2.5}}};
    bookmark.thumbnail = std::make_shared<const std::string>(std::string("\0\xFFjpeg", 6));
    project.EditBookmarks().push_back(bookmark);
    OrvCaseData data{"title", "examiner", "reviewer", "question\n?", "limits", {}};
    data.Set({file, "7", "police", "yesterday", "SHA-1 abc"});
    project.SetCaseData(data);
    project.SetAnnotations({{OrvAnnotation::Kind::Arrow, file.sha256, {5, 6, -7, 8}, "here"}});
    OrvProjectState state;
    state.configurations = Json{{"format", "x"}};
    state.filterId = "noise";
    state.view = {-1, true, 1.0, 0.0, 0.0, {}};
    state.isReferenceEnabled = false;
    state.mapRanges = Json{{"noise", {{"Map", {0, 1}}}}};
    state.logPlace = {"orvane-000003.log", 12, std::string(64, 'b')};
    project.SetState(state);

    const OrvProject read = OrvProject::FromText(project.ToText());
    EXPECT_EQ(read.ToText(), project.ToText());
    EXPECT_EQ(read.GetFile(OrvEvidence), file);
    EXPECT_EQ(read.GetCaseData(), data);
    EXPECT_EQ(read.GetAnnotations(), project.GetAnnotations());
    EXPECT_EQ(read.GetState().logPlace, state.logPlace);
    EXPECT_EQ(read.GetState().filterId, "noise");
    ASSERT_EQ(read.GetBookmarks().size(), 1U);
    const OrvBookmark& back = read.GetBookmarks()[0];
    EXPECT_EQ(back.view, bookmark.view);
    EXPECT_EQ(back.mapRanges, bookmark.mapRanges);
    EXPECT_EQ(read.GetState().mapRanges, state.mapRanges);
    EXPECT_EQ(back.file[OrvReference], file);
    EXPECT_EQ(back.filterVersion, 7);
    EXPECT_FALSE(back.isReferenceEnabled);
    ASSERT_TRUE(back.thumbnail);
    EXPECT_EQ(*back.thumbnail, *bookmark.thumbnail);
    // What is read of it in whatever way a member is wrong, in one sum.
    const std::string readings = DescribeJsonDamage(JsonFromText(project.ToText()), [](const Json& json) {
        return OrvProject::FromText(JsonToText(json, 0)).ToText();
    });
    EXPECT_EQ(Sha256(readings).substr(0, 16), "3063204b8316c1a1");
}

TEST(ProjectText, OnlyFilesThatAreGoneAreFollowed) {
    const TemporaryFolder folder;
    WriteFile(folder / "here.jpg", std::string("a copy"));
    const std::string sums[] = {std::string(64, 'a'), std::string(64, 'b'), ""};
    const std::string open[kFileSlots] = {folder / "evidence.jpg", folder / "reference.jpg"};
    OrvProject project;
    project.SetFile(OrvEvidence, {open[0], {}, 1, sums[0]});
    project.SetFile(OrvReference, {open[1], {}, 1, sums[1]});
    for (const char* name : {"here.jpg", "gone.jpg"})
        for (const std::string& sum : sums)
            project.EditBookmarks().emplace_back().file[OrvEvidence] = {folder / name, {}, 1, sum};
    project.FollowMovedFiles();
    const std::string gone = folder / "gone.jpg", here = folder / "here.jpg";
    const std::string expected[] = {here, here, here, open[0], open[1], gone};
    for (std::size_t i = 0; i < std::size(expected); ++i)
        EXPECT_EQ(project.GetBookmarks()[i].file[OrvEvidence].path, expected[i]) << i;
}

TEST(CaseData, ExhibitsBelongToBytes) {
    OrvCaseData data;
    const OrvCaseFile file{"/a.jpg", {}, 1, std::string(64, '1')};
    OrvCaseFile moved = file;
    moved.path = "/b.jpg";
    OrvCaseFile changed = file;
    changed.sha256 = std::string(64, '2');
    data.Set({file, "1", "", "", ""});
    EXPECT_EQ(data.Find(moved)->number, "1");
    EXPECT_EQ(data.Find(changed)->number, "1") << "last seen at this place";
    EXPECT_EQ(data.Find({"/c.jpg", {}, 1, std::string(64, '3')}), nullptr);
    data.Set({moved, "2", "", "", ""});
    ASSERT_EQ(data.exhibits.size(), 1U);
    data.Set({moved, "", "", "", ""});
    EXPECT_TRUE(data.IsEmpty());
}

TEST(CaseData, ExpectedHashesAreReadAsPeopleWriteThem) {
    const FileHashes hashes{"00112233445566778899aabbccddeeff", "00112233445566778899aabbccddeeff00112233",
                            "00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff"};
    const std::pair<std::string, OrvHashCheck> cases[] = {
        {"", OrvHashCheck::NotGiven},
        {" 00112233445566778899AABBCCDDEEFF\n", OrvHashCheck::Matches},
        {"md5: 00:11:22:33:44:55:66:77:88:99:aa:bb:cc:dd:ee:ff", OrvHashCheck::Matches},
        {"SHA-1 00112233 44556677 8899aabb ccddeeff 00112233", OrvHashCheck::Matches},
        {"sha256=" + hashes.sha256, OrvHashCheck::Matches},
        {hashes.sha256.substr(1) + "0", OrvHashCheck::Differs},
        {"sha1 " + hashes.sha256, OrvHashCheck::Unreadable},
        {hashes.md5.substr(1), OrvHashCheck::Unreadable},
        {"see the receipt", OrvHashCheck::Unreadable},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(CheckExpectedHash(ParseExpectedHash(text), hashes), expected) << text;
        EXPECT_EQ(HashCheckText(text, hashes).empty(), expected == OrvHashCheck::NotGiven) << text;
    }
    EXPECT_THAT(HashCheckText(cases[5].first, hashes), HasSubstr(hashes.sha256));
}

TEST_F(Project, ABookmarkBringsBackTheViewAndSaysWhatIsNew) {
    OrvViewState shown{2, false, 3.0, 4.0, 5.0, {1, 1, 2, 2}};
    core->SetViewSource([&shown] { return shown; });
    Load(folder.WritePicture("a.png", 10));
    Configure(5);
    core->AddBookmark("one", "");
    core->AddBookmark("two", "");
    ASSERT_TRUE(sink.PumpUntilIdle());
    ASSERT_EQ(core->GetProject().GetBookmarks().size(), 2U);
    const OrvBookmark made = core->GetProject().GetBookmarks()[0];
    EXPECT_EQ(made.view, shown);
    EXPECT_TRUE(made.thumbnail);
    EXPECT_EQ(made.file[OrvEvidence].sha256, core->GetFile(OrvEvidence)->GetSha256());
    EXPECT_EQ(SaveProject(folder / "case.zop"), "");

    Load(folder.WritePicture("b.png", 20));
    Configure(1);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(SaveProject(folder / "case.zop"), "");
    EXPECT_FALSE(core->TakeViewToShow(probe));
    EXPECT_EQ(FailureOf([&] { core->ShowBookmark(0); }), "");
    EXPECT_EQ(core->TakeViewToShow(probe), shown);
    EXPECT_FALSE(core->TakeViewToShow(probe)) << "once";
    EXPECT_EQ(probe->GetParametersInput().Get<int>("value"), 5);
    EXPECT_TRUE(core->GetProject().IsSaved()) << "looking changes nothing";

    folder.WritePicture("a.png", 30);
    Load("");
    EXPECT_THAT(FailureOf([&] { core->ShowBookmark(0); }),
                testing::AllOf(HasSubstr("has changed"), HasSubstr(made.file[OrvEvidence].sha256)));
    const std::string text = ReadFile(folder / "case.zop");
    const std::string version = "\"filterVersion\": 1";
    ASSERT_THAT(text, HasSubstr(version));
    std::string older = text;
    older.replace(older.find(version), version.size(), "\"filterVersion\": 9");
    WriteFile(folder / "older.zop", older);
    LoadProject(folder / "older.zop");
    folder.WritePicture("a.png", 10);
    EXPECT_THAT(FailureOf([&] { core->ShowBookmark(0); }), HasSubstr("version 9 of the filter"));
}

TEST_F(Project, BookmarksMoveAndChangesAreTakenBack) {
    const auto names = [this] {
        EXPECT_TRUE(sink.PumpUntilIdle());
        std::string all;
        const OrvProject project = core->GetProject();
        for (const OrvBookmark& bookmark : project.GetBookmarks()) all += bookmark.name;
        return all;
    };
    for (const char* name : {"a", "b", "c"}) core->AddBookmark(name, "");
    core->MoveBookmark(0, 2);
    EXPECT_EQ(names(), "bca");
    core->DeleteBookmark(1);
    core->EditBookmark(0, "B", "");
    EXPECT_EQ(names(), "Ba");
    core->UndoBookmarkChange();
    core->UndoBookmarkChange();
    EXPECT_EQ(names(), "bca");
    for (int i = 0; i < 9; ++i) core->UndoBookmarkChange();
    EXPECT_EQ(names(), "");
    EXPECT_FALSE(core->CanUndoBookmarkChange());
    EXPECT_THAT(FailureOf([&] { core->MoveBookmark(0, 1); }), HasSubstr("no such bookmark"));
    EXPECT_FALSE(core->CanUndoBookmarkChange()) << "what failed is no change";
}

TEST_F(Project, MovedFilesAreFoundByPlaceNameAndHash) {
    MakeFolder(folder / "case/pictures");
    std::filesystem::rename(folder.WritePicture("a.png", 10), folder / "case/pictures/a.png");
    std::filesystem::rename(folder.WritePicture("b.png", 20), folder / "case/pictures/b.png");
    Load(folder / "case/pictures/a.png");
    Load(folder / "case/pictures/b.png", OrvReference);
    core->AddBookmark("here", "");
    SaveProject(folder / "case/case.zop");
    core->NewProject();
    ASSERT_TRUE(sink.PumpUntilIdle());
    std::filesystem::rename(folder / "case", folder / "moved");
    // A file of the same name and size that is another one, where the right one is looked for first.
    std::filesystem::rename(folder / "moved/pictures/b.png", folder / "moved/pictures/renamed.png");
    WriteFile(folder / "moved/b.png",
              std::string(std::filesystem::file_size(folder / "moved/pictures/renamed.png"), 'x'));
    EXPECT_EQ(LoadProject(folder / "moved/case.zop"), "");
    EXPECT_EQ(FromWx(core->GetFilename(OrvEvidence)), folder / "moved/pictures/a.png");
    EXPECT_EQ(FromWx(core->GetFilename(OrvReference)), folder / "moved/pictures/renamed.png");
    EXPECT_EQ(core->GetProject().GetFilePath(OrvReference), folder / "moved/pictures/renamed.png");
    // Saved where it is now, it names the places where all files are now.
    SaveProject(folder / "moved/case.zop");
    for (const OrvFileId slot : {OrvEvidence, OrvReference})
        EXPECT_EQ(core->GetProject().GetBookmarks().at(0).file[slot].path,
                  core->GetProject().GetFilePath(slot));
    EXPECT_EQ(core->GetProject().GetBookmarks().at(0).file[OrvReference].relativePath,
              "pictures/renamed.png");
}

TEST_F(Project, ConfigurationsComeWithTheProjectAndGoWithIt) {
    const auto values = [this] {
        EXPECT_TRUE(sink.PumpUntilIdle());
        std::string all;
        for (const OrvFilterConfiguration& one : probe->GetConfigurations())
            all += ToString(one.GetParameters().Get<int>("value")) + (one.IsEnabled() ? " " : "- ");
        return all;
    };
    const auto add = [this](int value) {
        VecParameter parameters = probe->GetInputPrototype();
        parameters[0].SetValue(value);
        core->AddFilterConfiguration(probe, parameters, 1);
    };
    add(11);
    core->EnableFilterConfiguration(probe, 0, false);
    SaveProject(folder / "case.zop");
    core->DeleteFilterConfiguration(probe, 1);
    core->EnableFilterConfiguration(probe, 0, true);
    ASSERT_EQ(values(), "0 ");
    EXPECT_EQ(LoadProject(folder / "case.zop"), "");
    EXPECT_EQ(values(), "0- 11 ");
    EXPECT_TRUE(core->GetProject().IsSaved());
    add(12);
    EXPECT_EQ(values(), "0- 12 11 ");
    EXPECT_FALSE(core->GetProject().IsSaved());
    SaveProject(folder / "case.zop");
    core->NewProject();
    EXPECT_EQ(values(), "0 ") << "the user's own again";
    LoadProject(folder / "case.zop");
    EXPECT_EQ(values(), "0- 12 11 ");
}

TEST_F(Project, RangesSetByHandComeWithTheProjectAndWithABookmark) {
    const auto ranges = MapRangesOf(probe->GetId());
    const auto range = [&ranges] { return ranges->Get("Map"); };
    ranges->FromJson(Json::object());
    Load(folder.WritePicture("a.png"));
    Configure(5);
    ranges->Set("Map", OrvRange{1.0, 2.5});
    core->AddBookmark("one", "");
    ranges->Set("Map", OrvRange{0.0, 9.0});
    EXPECT_EQ(SaveProject(folder / "case.zop"), "");
    ranges->Set("Map", {});
    ranges->Set("Other", OrvRange{3.0, 4.0});

    EXPECT_EQ(LoadProject(folder / "case.zop"), "");
    EXPECT_EQ(range(), (OrvRange{0.0, 9.0}));
    EXPECT_FALSE(ranges->Get("Other")) << "those of the project and no others";
    core->ShowBookmark(0);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(range(), (OrvRange{1.0, 2.5}));
    core->NewProject();
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_FALSE(range()) << "another case";

    // A bookmark of a program that did not keep them leaves them as they are, a project has none.
    std::string text = ReadFile(folder / "case.zop");
    for (std::size_t at; (at = text.find("\"mapRanges\"")) != std::string::npos;) text[at + 1] = 'x';
    WriteFile(folder / "older.zop", text);
    ranges->Set("Map", OrvRange{7.0, 8.0});
    EXPECT_EQ(LoadProject(folder / "older.zop"), "");
    EXPECT_FALSE(range());
    ranges->Set("Map", OrvRange{7.0, 8.0});
    core->ShowBookmark(0);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(range(), (OrvRange{7.0, 8.0}));
    ranges->FromJson(Json::object());
}

TEST_F(Project, AFullDiskAndAReadOnlyFolderLeaveTheOldProject) {
    Load(folder.WritePicture("a.png"));
    MakeFolder(folder / "sub");
    const std::string path = folder / "sub/case.zop";
    EXPECT_EQ(SaveProject(path), "");
    const std::string before = ReadFile(path);
    core->AddBookmark(ToWx(std::string(100000, 'x')), "");
    ASSERT_TRUE(sink.PumpUntilIdle());
    {
        const FullDisk disk(20000);
        EXPECT_THAT(SaveProject(path), HasSubstr("case.zop"));
    }
    EXPECT_EQ(ReadFile(path), before);
    EXPECT_FALSE(core->GetProject().IsSaved());
    if (geteuid() != 0) {  // who may everything is not stopped
        std::filesystem::permissions(folder / "sub",
                                     std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
        EXPECT_NE(SaveProject(path), "");
        std::filesystem::permissions(folder / "sub", std::filesystem::perms::owner_all);
        EXPECT_EQ(ReadFile(path), before);
    }
    EXPECT_EQ(SaveProject(path), "");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / "sub"), {}), 2)
        << "the project and its lock";
}
