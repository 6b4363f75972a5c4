#include "orvgui/shell/frametexts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <opencv2/core.hpp>

#include "orvgui/common/opencverrors.h"
#include "orvgui/shell/help.h"
#include "tests/support/guitest.h"
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
