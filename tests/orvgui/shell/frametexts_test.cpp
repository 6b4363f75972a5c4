#include "orvgui/shell/frametexts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <opencv2/core.hpp>

#include "orvgui/common/opencverrors.h"
#include "orvgui/shell/help.h"
#include "tests/support/guitest.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

TEST(FrameTexts, TitleAndProposedName) {
    const struct {
        const char* project;
        bool saved;
        const char* title;
    } titles[] = {
        {"", true, "New Project - Base"},
        {"", false, "New Project* - Base"},
        {"/cases/case12.zop", true, "case12.zop - Base"},
        {"/cases/case12.zop", false, "case12.zop* - Base"},
    };
    for (const auto& c : titles) EXPECT_EQ(c.title, MakeFrameTitle(c.project, c.saved, "Base"));
    EXPECT_EQ(ToWx("caf\xE9.zop - Base"), MakeFrameTitle(PathToWx("/cases/caf\xE9.zop"), true, "Base"));

    EXPECT_EQ("/cases/old.zop", ProposeProjectName("/cases/old.zop", "/photos/a.jpg"));
    EXPECT_EQ("a.b.zop", ProposeProjectName("", "/photos/a.b.jpg"));
    EXPECT_EQ("New Project.zop", ProposeProjectName("", ""));
}

// Every page's analyses look at one picture: the status bar says so where a file holds more.
TEST(FrameTexts, OneOfSeveralPicturesIsNamed) {
    const TemporaryFolder folder;
    Bytes gif = {'G', 'I', 'F', '8', '9', 'a', 1, 0, 1, 0, 0x80, 0, 0, 0, 0, 0, 255, 255, 255};
    const Bytes frame = {',', 0, 0, 0, 0, 1, 0, 1, 0, 0, 2, 2, 0x44, 1, 0};
    for (const int frames : {1, 2, 3}) {
        gif.insert(gif.end(), frame.begin(), frame.end());
        Bytes whole = gif;
        whole.push_back(';');
        WriteFile(folder / "a.gif", whole);
        const wxString text = MakePictureText(*OrvLoadedFile::Load(folder / "a.gif", 1 << 20, OrvJob()));
        EXPECT_EQ(text.Contains(wxString::Format("the main one of %d pictures", frames)), frames > 1) << text;
    }
}

TEST(FrameTexts, ProgressNeverReachesItsEnd) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        ProgressState state;
        const char* message;
        int value;
    } cases[] = {
        {{0.0, 0.0, "Reading", "", false}, "Reading", 0},
        {{0.009, 0.0, "Reading", "", false}, "Reading", 0},
        {{0.01, 0.0, "Reading", "", false}, "Reading (1%)", 1},
        {{0.999, 0.0, "Reading", "", false}, "Reading (99%)", 99},
        {{1.0, 0.0, "Reading", "", false}, "Reading (99%)", 99},
        {{7.0, 0.0, "100%s", "", false}, "100%s (99%)", 99},
        {{-1.0, 0.0, "Reading", "", false}, "Reading", 0},
        {{nan, nan, "Reading", "x", true}, "Reading\nx", 0},
        {{0.5, 0.25, "Outer", "Inner", true}, "Outer (50%)\nInner (25%)", 25},
        {{0.5, 0.25, "Outer", "Inner", false}, "Outer (50%)", 50},
        {{0.5, 0.0, "Outer", "Inner", true}, "Outer (50%)\nInner", 0},
    };
    for (const auto& c : cases) {
        const ProgressView view = MakeProgressView(c.state);
        EXPECT_EQ(c.message, view.message);
        EXPECT_EQ(c.value, view.value) << view.message;
    }
}

TEST(FrameTexts, MapPosition) {
    const MapPosition position = ParseMapPosition("48.858300 -2.294500");
    EXPECT_DOUBLE_EQ(48.8583, position.latitude);
    EXPECT_DOUBLE_EQ(-2.2945, position.longitude);
    EXPECT_TRUE(std::isnan(ParseMapPosition("48.8583").longitude));
    EXPECT_TRUE(std::isnan(ParseMapPosition("").latitude));
}

TEST(FrameTexts, OpenCvErrorsBecomeExceptions) {
    InstallOpenCvErrorHandler();
    EXPECT_EQ("Apple QuickTime not installed or not supporting this video format.",
              OpenCvErrorMessage("invalid Movie handle", "video.cpp", 3));
    EXPECT_EQ("Internal error:\nbad size\nin file matrix.cpp, line 12",
              OpenCvErrorMessage("bad size", "matrix.cpp", 12));
    try {
        const cv::Mat a(2, 2, CV_8U), b(3, 3, CV_8U);
        cv::Mat sum;
        cv::add(a, b, sum);
        FAIL() << "no exception";
    } catch (const ZorException& error) {
        EXPECT_EQ(0u, error.GetMessage().find("Internal error:\n")) << error.GetMessage();
        EXPECT_NE(std::string::npos, error.GetMessage().find(", line "));
    }
}

TEST(FrameTexts, HelpIsAnIndentedText) {
    OrvHelpNode root("Main Window", "");
    OrvHelpNode* page = root.AddChild("Filters", "Choose one.\nThen look.");
    page->AddChild("File", "");
    EXPECT_EQ("Main Window\n  Filters\n    Choose one.\n    Then look.\n\n    File\n", CreateHelp(&root));
    const ExpectedAssertions assertions;
    EXPECT_EQ("", CreateHelp(nullptr));
    EXPECT_EQ(1u, assertions.Messages().size());
}
