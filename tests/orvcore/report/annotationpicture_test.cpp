#include "orvcore/report/annotationpicture.h"

#include <gmock/gmock.h>

#include "orvcore/filters/fileformatfilter.h"
#include "orvcore/report/report.h"
#include "tests/support/runfilter.h"
#include "tests/support/testcore.h"

using testing::HasSubstr;
using testing::Not;

namespace {

using Kind = OrvAnnotation::Kind;
const cv::Vec3b kInk(255, 220, 90);

cv::Mat Plain(int type = CV_8UC3) {
    return cv::Mat(200, 300, type, cv::Scalar::all(type == CV_16UC1 ? 128 * 257 : 128));
}

// Pixels with a share of the marks' colour: letters have soft edges.
int CountInk(const Image& image) {
    int count = 0;
    const cv::Mat& pixels = image.GetMat();
    for (int y = 0; y < pixels.rows; ++y)
        for (int x = 0; x < pixels.cols; ++x) {
            const auto pixel = pixels.at<cv::Vec3b>(y, x);
            if (pixel[0] - pixel[2] > 60) ++count;
        }
    return count;
}

}  // namespace

TEST(AnnotationPicture, DrawsWhereTheMarksAreAndNowhereElse) {
    const Image picture(Plain());
    const Image drawn = DrawAnnotations(
        picture, {{Kind::Rectangle, "", {50, 60, 41, 31}, ""}, {Kind::Arrow, "", {200, 150, 40, -40}, ""}},
        {});
    const cv::Mat& pixels = drawn.GetMat();
    for (const cv::Point at : {cv::Point(50, 60), {90, 60}, {70, 90}, {90, 90}, {220, 130}, {240, 110}})
        EXPECT_EQ(kInk, pixels.at<cv::Vec3b>(at)) << at;
    for (const cv::Point at : {cv::Point(70, 75), {10, 10}, {200, 110}, {46, 56}})
        EXPECT_EQ(cv::Vec3b::all(128), pixels.at<cv::Vec3b>(at)) << at;
    EXPECT_EQ(0, CountInk(picture)) << "the picture itself stays";

    const Image half = DrawAnnotations(picture, {{Kind::Rectangle, "", {50, 60, 40, 30}, ""}}, {0.5, false});
    EXPECT_EQ(kInk, half.GetMat().at<cv::Vec3b>(30, 25));
    EXPECT_EQ(cv::Vec3b::all(128), half.GetMat().at<cv::Vec3b>(60, 50));
}

TEST(AnnotationPicture, TakesWhateverAProjectMayHold) {
    for (const int type : {CV_8UC1, CV_8UC3, CV_16UC1}) {
        const Image drawn =
            DrawAnnotations(Image(Plain(type)), {{Kind::Rectangle, "", {5, 6, 20, 20}, ""}}, {});
        EXPECT_EQ(kInk, drawn.GetMat().at<cv::Vec3b>(6, 5)) << type;
        EXPECT_EQ(cv::Vec3b::all(128), drawn.GetMat().at<cv::Vec3b>(100, 100)) << type;
    }
    const int far = 2147483647;
    const std::string wall(100000, 'W');
    EXPECT_TRUE(DrawAnnotations(Image(Plain()),
                                {{Kind::Rectangle, "", {far, far, far, far}, "a"},
                                 {Kind::Rectangle, "", {-far, -far, 5, 5}, "b"},
                                 {Kind::Arrow, "", {-far, far, far, -far}, "\xFF\xFE"},
                                 {Kind::Text, "", {299, 199, 0, 0}, wall},
                                 {Kind::Text, "", {10, 10, 0, 0}, "a\nb\x01"}},
                                {})
                    .IsValid());
    EXPECT_TRUE(DrawAnnotations(Image(cv::Mat(1, 1, CV_8UC3, cv::Scalar::all(0))),
                                {{Kind::Text, "", {0, 0, 0, 0}, "a"}}, {})
                    .IsValid());
    EXPECT_FALSE(DrawAnnotations(Image(), {{Kind::Text, "", {0, 0, 0, 0}, "a"}}, {}).IsValid());
}

TEST(AnnotationPicture, LettersOfAnyLanguageAreSeen) {
    const auto ink = [](const std::string& text) {
        return CountInk(DrawAnnotations(Image(Plain()), {{Kind::Text, "", {20, 20, 0, 0}, text}}, {}));
    };
    EXPECT_GT(ink("W"), 5);
    EXPECT_GT(ink("\xC3\x84"), 5);  // Ä
    EXPECT_GT(ink("\xD0\xAF\xD0\xAF"), ink("i")) << "Cyrillic";
}

TEST(AnnotationPicture, TheReportShowsTheMarksBesideThePicture) {
    const CaseFolder folder;
    OrvReport report;
    OrvReportSection section;
    const FileFormatFilter filter;
    section.filter = &filter;
    section.result = RunFilter(filter, folder.WritePicture("a.png", 90, 100), std::string());
    report.files[OrvEvidence] = section.result->file[OrvEvidence];
    report.sections = {section};
    EXPECT_THAT(BuildHtmlReport(report), Not(HasSubstr("Marks on")));
    const std::string sha = report.files[OrvEvidence]->GetSha256();
    report.project.SetAnnotations({{Kind::Rectangle, sha, {10, 20, 30, 40}, "<b>edge</b>"},
                                   {Kind::Arrow, std::string(64, 'f'), {1, 2, 3, 4}, "elsewhere"},
                                   {Kind::Arrow, sha, {5, 6, -2, 8}, ""}});
    const std::string html = BuildHtmlReport(report);
    EXPECT_THAT(html, HasSubstr("Marks on a.png"));
    EXPECT_THAT(html, HasSubstr("10, 20, 30 x 40"));
    EXPECT_THAT(html, HasSubstr("from 5, 6 to 3, 14"));
    EXPECT_THAT(html, HasSubstr("&lt;b&gt;edge"));
    EXPECT_THAT(html, Not(HasSubstr("elsewhere")));
}
