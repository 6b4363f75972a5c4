#include "orvgui/viewer/canvas.h"

#include <gtest/gtest.h>
#include <wx/dcmemory.h>
#include <wx/dcsvg.h>

#include <cmath>
#include <cstring>
#include <regex>

#include "tests/orvgui/nativecomplaints.h"
#include "tests/orvgui/viewer/canvasfixture.h"
#include "tests/support/guitest.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

cv::Mat Pattern(int width, int height) {
    cv::Mat image(height, width, CV_8UC3);
    cv::RNG random(3);
    random.fill(image, cv::RNG::UNIFORM, 0, 190);  // never the border's grey
    return image;
}

wxColour At(const wxImage& image, int x, int y) {
    return {image.GetRed(x, y), image.GetGreen(x, y), image.GetBlue(x, y)};
}

const wxColour kBorder(200, 200, 200);

}  // namespace

TEST_F(CanvasTest, ASmallImageKeepsFullSizeOnceSmallOnesAreKnown) {
    Size(400, 300);
    Show(Pattern(100, 150));
    m_canvas->InitZoom();
    EXPECT_DOUBLE_EQ(m_shared.zoom, 2.0);  // the very first one is fitted
    m_canvas->InitZoom();
    EXPECT_DOUBLE_EQ(m_shared.zoom, 1.0);
    EXPECT_EQ(m_shared.offset, (IntPair{150, 75}));
    const wxImage painted = Paint();
    EXPECT_EQ(At(painted, 149, 100), kBorder);
    EXPECT_NE(At(painted, 150, 100), kBorder);
    EXPECT_EQ(At(painted, 250, 100), kBorder);
    EXPECT_EQ(At(painted, 399, 299), kBorder);
}

TEST_F(CanvasTest, ALargeImageIsFittedAboutItsCentre) {
    Size(500, 500);
    Show(Pattern(1000, 500));
    m_canvas->InitZoom();
    EXPECT_DOUBLE_EQ(m_shared.zoom, 0.5);
    EXPECT_EQ(m_shared.zoomCentre, (IntPair{500, 250}));
    EXPECT_EQ(m_shared.offset, (IntPair{0, 250}));
    EXPECT_EQ(m_canvas->GetClientSize(), wxSize(500, 500));  // a fitted image needs no scroll bars
}

TEST_F(CanvasTest, FromSmallToLargeTheFitWins) {
    Size(600, 400);
    Show(Pattern(150, 150));
    m_canvas->InitZoom();
    Show(Pattern(3000, 2000));
    m_canvas->SetZoom(0, 0, 1.0, 0, 0);
    EXPECT_DOUBLE_EQ(m_shared.zoom, 0.2);
    m_canvas->SetZoom(0, 0, 1.0, 0, 0);
    EXPECT_DOUBLE_EQ(m_shared.zoom, 1.0);
}

TEST_F(CanvasTest, ZoomLimits) {
    Size(400, 300);
    Show(Pattern(640, 480));
    m_canvas->SetZoom(0, 0, 1.0, 0, 0);  // not before the limits are set
    EXPECT_EQ(m_shared.zoom, -1.0);
    m_canvas->InitZoom();
    m_canvas->SetZoom(0, 0, 2.0, 0, 0);
    EXPECT_EQ(m_shared.scrollRate, 2);
    for (const double refused : {128.5, -0.1, std::nan("")}) {
        m_canvas->SetZoom(0, 0, refused, 0, 0);
        EXPECT_DOUBLE_EQ(m_shared.zoom, 2.0);
    }
    m_canvas->SetZoom(320, 240, 128.0, 0, 0);
    EXPECT_EQ(m_shared.scrollRate, 128);
    Paint();
    // Zero is in range: nothing of the image is painted and nothing divides by it.
    m_canvas->SetZoom(0, 0, 0.0, 0, 0);
    EXPECT_EQ(m_shared.zoom, 0.0);
    EXPECT_EQ(At(Paint(), 10, 10), kBorder);
    int x = 5;
    int y = 5;
    EXPECT_FALSE(m_canvas->GetPixelCoordinates(3, 3, x, y, true, false));
    m_canvas->SetZoom(0, 0, 1.5, 0, 0);
    EXPECT_EQ(m_shared.scrollRate, 2);
}

TEST_F(CanvasTest, NothingHappensBeforeTheFirstLayout) {
    Show(Pattern(640, 480));
    m_canvas->InitZoom();
    EXPECT_EQ(m_shared.zoom, -1.0);
    Size(320, 480);  // now it is
    EXPECT_DOUBLE_EQ(m_shared.zoom, 0.5);
}

TEST_F(CanvasTest, PaintsWhatTheScaledBitmapPaints) {
    Size(420, 330);
    const cv::Mat image = Pattern(331, 257);
    Show(image);
    m_canvas->InitZoom();
    for (const double zoom : {1.0, 1.37, 2.0, 2.618, 3.0, 7.0, 16.0}) {
        for (const IntPair& centre : {IntPair{0, 0}, IntPair{200, 100}, IntPair{331, 257}}) {
            m_canvas->SetZoom(centre.x, centre.y, zoom, 0, 0);
            PumpFrames();
            const wxImage painted = Paint();
            const wxImage plain = PaintPlainly();
            ASSERT_EQ(painted.GetSize(), plain.GetSize());
            int different = 0;
            for (int y = 0; y < painted.GetHeight(); ++y) {
                for (int x = 0; x < painted.GetWidth(); ++x)
                    different += At(painted, x, y) != At(plain, x, y);
            }
            // The toolkit's drawing library rounds its scale to 1/65536: at odd zooms a column in a few hundred
            // takes the neighbouring pixel.
            const bool isWhole = zoom == std::floor(zoom);
            EXPECT_LE(different, isWhole ? 0 : painted.GetWidth() * painted.GetHeight() / 50)
                << "zoom " << zoom << " centre " << centre.x;
        }
    }
    // Below full size the colours are averages, the covered pixels are the same but for those that are covered by exactly half.
    Show(cv::Mat(257, 331, CV_8UC3, cv::Scalar(9, 9, 9)));
    for (const double zoom : {0.053, 0.11, 0.333, 0.517, 0.71, 0.999}) {
        m_canvas->SetZoom(0, 0, zoom, 0, 0);
        const wxImage painted = Paint();
        const wxImage plain = PaintPlainly();
        for (int y = 0; y < painted.GetHeight(); ++y) {
            for (int x = 0; x < painted.GetWidth(); ++x) {
                ASSERT_EQ(At(painted, x, y) == kBorder, At(plain, x, y) == kBorder)
                    << zoom << ' ' << x << ',' << y;
            }
        }
    }
}

TEST_F(CanvasTest, AScrolledViewLooksAsIfPaintedAnew) {
    Size(420, 330);
    const Image image(Pattern(1500, 1200));
    m_canvas->SetImage(image);
    m_shared.SetImageSize(1500, 1200);
    m_canvas->InitZoom();
    cv::RNG random(5);
    for (const double zoom : {0.517, 0.9, 1.0, 2.618, 8.0}) {
        m_canvas->SetZoom(700, 600, zoom, 0, 0);
        PumpFrames();
        for (int i = 0; i < 8; ++i) {
            Paint();
            const wxPoint start = m_canvas->GetViewStart();
            m_canvas->ScrollTo(start.x + random.uniform(-90, 90), start.y + random.uniform(-90, 90));
            const wxImage moved = Paint();
            m_canvas->SetImage(image);  // forgets what was painted
            const wxImage fresh = Paint();
            ASSERT_EQ(std::memcmp(moved.GetData(), fresh.GetData(),
                                  static_cast<std::size_t>(moved.GetWidth()) *
                                      static_cast<std::size_t>(moved.GetHeight()) * 3),
                      0)
                << zoom << ' ' << i;
        }
    }
}

TEST_F(CanvasTest, ThePixelUnderTheMouseIsThePixelOfTheFile) {
    Size(400, 300);
    const cv::Mat image = Pattern(640, 480);
    Show(image);
    m_canvas->InitZoom();
    for (const double zoom : {1.0, 2.0, 8.0, 32.0}) {
        m_canvas->SetZoom(333, 222, zoom, 0, 0);
        PumpFrames();
        const wxImage painted = Paint();
        for (const wxPoint& point : {wxPoint(0, 0), wxPoint(57, 101), wxPoint(370, 270)}) {
            int x = -1;
            int y = -1;
            EXPECT_FALSE(m_canvas->GetPixelCoordinates(point.x, point.y, x, y, true, false));
            int red = 0;
            int green = 0;
            int blue = 0;
            m_canvas->GetRGB(red, green, blue, x, y);
            EXPECT_EQ(At(painted, point.x, point.y), wxColour(red, green, blue)) << zoom;
        }
    }
    int x = 0;
    int y = 0;
    m_shared.zoomCentre = {12, 34};
    EXPECT_TRUE(m_canvas->GetPixelCoordinates(9, 9, x, y, true, true));
    EXPECT_EQ(x, 12);
    EXPECT_EQ(y, 34);
}

TEST_F(CanvasTest, TheSelectionIsOutlinedInScreenPixels) {
    Size(400, 300);
    Show(cv::Mat(200, 300, CV_8UC3, cv::Scalar(90, 90, 90)));
    m_canvas->InitZoom();
    m_canvas->SetZoom(0, 0, 4.0, 0, 0);
    m_canvas->ScrollTo(5, 3);
    PumpFrames();
    m_canvas->SetDrawRect(wxRect(10, 10, 20, 15), true);
    const wxImage painted = Paint();
    // Left edge at image pixel 10, seen from scroll position 5 at 400 %: black with white dashes, one pixel wide.
    int black = 0;
    int white = 0;
    for (int y = 30; y < 80; ++y) {
        black += At(painted, 20, y) == *wxBLACK;
        white += At(painted, 20, y) == *wxWHITE;
        EXPECT_EQ(At(painted, 19, y), wxColour(90, 90, 90));
        EXPECT_EQ(At(painted, 22, y), wxColour(90, 90, 90));
    }
    EXPECT_GT(black, 15);
    EXPECT_GT(white, 15);
    m_canvas->SetDrawRect(wxRect(), false);
    EXPECT_EQ(At(Paint(), 20, 50), wxColour(90, 90, 90));
}

// Dashes that nobody sees cost as much as those that are seen, and at the largest zoom there are a hundred times as many.
TEST_F(CanvasTest, OnlyTheSeenPartOfAnOutlineIsDrawn) {
    Size(400, 300);
    Show(cv::Mat(2000, 3000, CV_8UC3, cv::Scalar(90, 90, 90)));
    m_canvas->InitZoom();
    m_canvas->SetZoom(0, 0, 128.0, 0, 0);
    wxRect outline(10, 10, 2900, 1900);
    const TemporaryFolder folder;
    const struct {
        const char* what;
        IntPair corner;  // image pixel that the view begins at
        int lines;       // each is drawn twice: black, and white dashes
    } cases[] = {
        {"its corner", {9, 9}, 4}, {"its upper edge", {1000, 9}, 2}, {"its inside", {1000, 1000}, 0}};
    for (const auto& c : cases) {
        m_canvas->ScrollTo(RoundToInt(c.corner.x * 128.0 / m_shared.scrollRate),
                           RoundToInt(c.corner.y * 128.0 / m_shared.scrollRate));
        PumpFrames();
        const std::string path = folder / "outline.svg";
        wxPoint origin;
        {
            wxSVGFileDC dc(PathToWx(path), 400, 300);
            m_canvas->DoPrepareDC(dc);
            origin = dc.GetDeviceOrigin();
            m_canvas->DrawSpecialRectangle(&dc, outline);
        }
        const std::string drawing = ReadFile(path);
        const std::regex line("M(-?[0-9]+) (-?[0-9]+) L(-?[0-9]+) (-?[0-9]+)");
        int lines = 0;
        for (std::sregex_iterator it(drawing.begin(), drawing.end(), line), end; it != end; ++it, ++lines) {
            for (int i = 1; i <= 4; ++i) {
                const bool isX = i % 2 == 1;
                const int place = std::stoi((*it)[static_cast<std::size_t>(i)]) + (isX ? origin.x : origin.y);
                EXPECT_GE(place, -8) << c.what;
                EXPECT_LE(place, (isX ? 400 : 300) + 8) << c.what;
            }
        }
        EXPECT_EQ(lines, c.lines) << c.what;
    }
}

TEST_F(CanvasTest, WithoutAnImageItSaysSo) {
    Size(400, 300);
    m_canvas->SetEmptyMessage("nothing here");
    const wxImage painted = Paint();
    EXPECT_EQ(At(painted, 3, 3), *wxLIGHT_GREY);
    int dark = 0;
    for (int x = 100; x < 300; ++x) {
        for (int y = 130; y < 170; ++y) dark += At(painted, x, y) != *wxLIGHT_GREY;
    }
    EXPECT_GT(dark, 20);
    EXPECT_EQ(m_canvas->GetProperties()->GetWidth(), 0);
    EXPECT_EQ(m_canvas->GetProperties()->GetChannels(), 0);
    int red = 0;
    int green = 0;
    int blue = 0;
    m_canvas->GetRGB(red, green, blue, 0, 0);
    EXPECT_EQ(red, -1);
    // An image that disappears while it is shown.
    Show(Pattern(640, 480));
    m_canvas->InitZoom();
    Paint();
    m_canvas->Reset();
    EXPECT_EQ(At(Paint(), 3, 3), *wxLIGHT_GREY);
}

TEST_F(CanvasTest, OddImagesAreShown) {
    const NativeComplaints complaints;
    Size(400, 300);
    for (const wxSize& size : {wxSize(1, 1), wxSize(1, 30000), wxSize(40000, 100)}) {
        for (const int type : {CV_8UC1, CV_16UC3, CV_8UC4}) {
            Show(cv::Mat(size.y, size.x, type, cv::Scalar::all(CV_MAT_DEPTH(type) == CV_16U ? 20000 : 78)));
            m_canvas->InitZoom();
            m_canvas->InitZoom();
            for (const double zoom : {0.0, 0.01, 0.3, 1.0, 128.0}) {
                m_canvas->SetZoom(size.x / 2, size.y / 2, zoom, 0, 0);
                Paint();
            }
            EXPECT_NE(At(Paint(), 200, 150), kBorder) << size.x << ' ' << type;
        }
    }
    // With scroll bars it could be no smaller than they are.
    m_canvas->SetZoom(0, 0, 0.0, 0, 0);
    Size(1, 1);
    Paint();
    EXPECT_EQ(complaints.GetText(), "");
}

TEST_F(CanvasTest, ValueOfABarChart) {
    Size(400, 300);
    cv::Mat chart(100, 30, CV_8UC3, cv::Scalar::all(255));
    chart(cv::Rect(6, 40, 3, 60)).setTo(cv::Scalar::all(0));  // column 2: 60 pixels high
    chart(cv::Rect(0, 0, 3, 100)).setTo(cv::Scalar::all(0));  // column 0: up to the top
    Show(chart);
    m_canvas->GetProperties()->SetScale(2.0);
    const struct {
        int x, y;
        double value;
        int column;
    } cases[] = {{7, 90, 30.5, 2}, {7, 41, 30.5, 2},   {7, 10, -1.0, 7},
                 {1, 99, 50.0, 0}, {12, 50, -1.0, 12}, {30, 100, -1.0, 30}};
    for (const auto& c : cases) {
        double value = 0.0;
        int x = c.x;
        m_canvas->GetValue(value, x, c.y);
        EXPECT_DOUBLE_EQ(value, c.value) << c.x << ',' << c.y;
        EXPECT_EQ(x, c.column);
    }
}

TEST(CanvasProperties, AnImageIsNeverTheCallersToChange) {
    cv::Mat pixels(4, 5, CV_8UC3, cv::Scalar(1, 2, 3));
    IplImage header = cvIplImage(pixels);
    CanvasProperties properties(nullptr, 6000);
    EXPECT_FALSE(properties.IsValid());
    properties.SetImage(&header);
    properties.SetImage1(&header);
    pixels.setTo(cv::Scalar(9, 9, 9));
    EXPECT_EQ(properties.GetIplImage().GetMat().at<cv::Vec3b>(0, 0), cv::Vec3b(1, 2, 3));
    EXPECT_EQ(properties.GetWxImage().GetRed(0, 0), 3);
    EXPECT_EQ(properties.GetBmpImage().GetWidth(), 5);
    properties.SetScale(4.0);
    properties.Reset();
    EXPECT_EQ(properties.GetScale(), -1.0);
    EXPECT_FALSE(properties.GetBmpImage().IsOk());
    EXPECT_TRUE(properties.GetImage1().IsValid());  // the auxiliary images stay
    // An image of the core is shared.
    const Image image(cv::Mat(4, 5, CV_16UC1, cv::Scalar(7)));
    properties.SetImage(image);
    EXPECT_EQ(properties.GetIplImage().GetMat().data, image.GetMat().data);
}
