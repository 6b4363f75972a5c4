// What the viewer costs in a real window, each figure beside what the work must cost at least, both measured in one run. Needs a
// display and a window manager. Prints one line per figure; the exit code is 0 when every goal is met.

#include <wx/app.h>
#include <wx/bitmap.h>
#include <wx/dcclient.h>
#include <wx/frame.h>
#include <wx/image.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "orvcore/analysis/errorlevel.h"
#include "orvgui/viewer/canvas.h"
#include "zorimage/imageio.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kWidth = 1200;
constexpr int kHeight = 800;
constexpr int kFrames = 120;
const double kZooms[] = {0.1, 0.25, 0.5, 0.7, 1.0, 4.0, 16.0};

bool g_allMet = true;

double MillisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double Percentile(std::vector<double> values, double part) {
    if (values.empty()) return 0.0;
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

// One line of the report. isMet: the goal, told beside the figure.
void Report(const std::string& what, double value, const char* unit, const std::string& goal, bool isMet) {
    std::printf("%-58s %9.3f %-4s goal %-22s %s\n", what.c_str(), value, unit, goal.c_str(),
                isMet ? "met" : "MISSED");
    std::fflush(stdout);
    g_allMet = g_allMet && isMet;
}

// Shades, edges and sensor noise, so that neither encoder nor averaging has an easy day.
cv::Mat Photograph(int width, int height) {
    cv::Mat small(height / 16, width / 16, CV_8UC3);
    cv::theRNG().state = 5;
    cv::randu(small, 30, 220);
    cv::GaussianBlur(small, small, cv::Size(0, 0), 3.0);
    cv::Mat image;
    cv::resize(small, image, cv::Size(width, height), 0, 0, cv::INTER_CUBIC);
    for (int i = 0; i < 400; ++i) {
        const cv::Point centre(cv::theRNG().uniform(0, width), cv::theRNG().uniform(0, height));
        cv::circle(image, centre, cv::theRNG().uniform(10, 200),
                   cv::Scalar::all(cv::theRNG().uniform(20, 230)), -1);
    }
    cv::Mat noise(height, width, CV_8SC3);
    cv::randn(noise, 0, 5);
    cv::add(image, noise, image, cv::noArray(), CV_8U);
    return image;
}

// Paints one bitmap that is ready.
class ReadyPanel : public wxPanel {
  public:
    explicit ReadyPanel(wxWindow* parent)
        : wxPanel(parent, wxID_ANY, wxPoint(0, 0), wxSize(kWidth, kHeight)) {
        SetBackgroundStyle(wxBG_STYLE_PAINT);
        m_bitmap = wxBitmap(wxImage(kWidth, kHeight));
        Bind(wxEVT_PAINT, [this](wxPaintEvent&) {
            wxPaintDC dc(this);
            dc.DrawBitmap(m_bitmap, 0, 0, false);
        });
    }

  private:
    wxBitmap m_bitmap;
};

template <typename Step>
std::vector<double> TimeFrames(wxWindow* window, const Step& step) {
    std::vector<double> times;
    for (int i = 0; i < kFrames + 10; ++i) {
        const auto start = Clock::now();
        step(i);
        window->Refresh(false);
        window->Update();
        wxYield();
        if (i >= 10) times.push_back(MillisecondsSince(start));
    }
    return times;
}

double ExactAverage(const cv::Mat& image, int x, int y, double zoom, int channel) {
    const double x0 = x / zoom, x1 = std::min((x + 1) / zoom, static_cast<double>(image.cols));
    const double y0 = y / zoom, y1 = std::min((y + 1) / zoom, static_cast<double>(image.rows));
    double sum = 0.0, weight = 0.0;
    for (int row = static_cast<int>(y0); row < y1; ++row) {
        for (int column = static_cast<int>(x0); column < x1; ++column) {
            const double w = (std::min<double>(column + 1, x1) - std::max<double>(column, x0)) *
                             (std::min<double>(row + 1, y1) - std::max<double>(row, y0));
            sum += w * image.ptr(row)[3 * column + channel];
            weight += w;
        }
    }
    return sum / weight;
}

double PsnrAgainstExact(const DisplayPyramid& pyramid, const cv::Mat& image, double zoom) {
    std::vector<std::uint8_t> screen(static_cast<std::size_t>(kWidth) * kHeight * 4);
    const IntPair origin{17, 11};
    pyramid.Paint(zoom, {0, 0}, origin, {0, 0, kWidth, kHeight}, {screen.data(), kWidth * 4});
    const IntRect part = pyramid.PaintedPart(zoom, {0, 0}, origin, {0, 0, kWidth, kHeight});
    double squares = 0.0;
    int count = 0;
    for (int y = 0; y < part.height; y += 7) {
        for (int x = 0; x < part.width; x += 7) {
            for (int c = 0; c < 3; ++c, ++count) {
                const double off =
                    screen[(static_cast<std::size_t>(y) * kWidth + static_cast<std::size_t>(x)) * 4 +
                           static_cast<std::size_t>(c)] -
                    ExactAverage(image, origin.x + x, origin.y + y, zoom, c);
                squares += off * off;
            }
        }
    }
    return 10.0 * std::log10(255.0 * 255.0 * count / squares);
}

class Bench {
  public:
    void Run() {
        m_shared.SetZoomMinMax();
        SetSharedWindowProperties(&m_shared);
        m_frame =
            new wxFrame(nullptr, wxID_ANY, "viewer bench", wxPoint(0, 0), wxSize(kWidth + 20, kHeight + 60));
        auto* room = new wxPanel(m_frame);
        m_ready = new ReadyPanel(room);
        m_panel = new wxPanel(room, wxID_ANY, wxPoint(0, 0), wxSize(kWidth, kHeight));
        m_canvas = new Canvas(m_panel, 6000, false, false, "canvas");
        m_canvas->SetSize(0, 0, kWidth, kHeight);
        m_frame->Show();
        for (int i = 0; i < 50; ++i) {
            wxYield();
            wxMilliSleep(10);
        }
        const Image small(Photograph(6000, 4000));
        const Image large(Photograph(12000, 8400));
        Repaint(small, large);
        FirstPaint(large);
        ErrorLevel(small.GetMat());
        m_frame->Destroy();
        SetSharedWindowProperties(nullptr);
    }

  private:
    std::vector<double> CanvasFrames(const Image& image, double zoom) {
        m_shared.SetImageSize(image.GetWidth(), image.GetHeight());
        m_canvas->SetImage(image);
        m_canvas->GetProperties()->GetPyramid()->WaitComplete();
        m_canvas->SetZoom(image.GetWidth() / 2, image.GetHeight() / 2, zoom, 0, 0);
        m_canvas->SetZoom(image.GetWidth() / 2, image.GetHeight() / 2, zoom, 0, 0);
        for (int i = 0; i < 5; ++i) wxYield();
        const wxPoint start = m_canvas->GetViewStart();
        // Every frame shows another part, as a drag does.
        return TimeFrames(m_canvas, [&](int i) { m_canvas->ScrollTo(start.x + i % 40, start.y + i % 30); });
    }

    void Repaint(const Image& small, const Image& large) {
        const auto smallPyramid = DisplayPyramid::For(small);
        smallPyramid->WaitComplete();
        for (const double zoom : kZooms) {
            m_panel->Hide();
            m_ready->Show();
            wxYield();
            const double ready = Percentile(TimeFrames(m_ready, [](int) {}), 0.5);
            m_ready->Hide();
            m_panel->Show();
            wxYield();
            const auto smallTimes = CanvasFrames(small, zoom);
            const auto largeTimes = CanvasFrames(large, zoom);
            const double smallMedian = Percentile(smallTimes, 0.5);
            const double largeMedian = Percentile(largeTimes, 0.5);
            const std::string at = "zoom " + std::to_string(zoom).substr(0, 5) + ": ";
            Report(at + "ready buffer, median", ready, "ms", "-", true);
            Report(at + "100 MP repaint / ready buffer", largeMedian / ready, "", "at most 3",
                   largeMedian <= 3.0 * ready);
            Report(at + "24 MP repaint / ready buffer", smallMedian / ready, "", "at most 3",
                   smallMedian <= 3.0 * ready);
            // Where 24 MP do not fill the window, less is painted of them.
            const bool fills = small.GetWidth() * zoom >= kWidth && small.GetHeight() * zoom >= kHeight;
            Report(at + "100 MP / 24 MP", largeMedian / smallMedian, "",
                   fills ? "at most 1.25" : "(other areas)", !fills || largeMedian <= 1.25 * smallMedian);
            const double worst = std::max(Percentile(smallTimes, 0.99), Percentile(largeTimes, 0.99));
            Report(at + "99th percentile", worst, "ms", "under 8", worst < 8.0);
            if (zoom < 1.0) {
                const double psnr = PsnrAgainstExact(*smallPyramid, small.GetMat(), zoom);
                Report(at + "against the exact area average", psnr, "dB", "at least 40", psnr >= 40.0);
            }
        }
    }

    void FirstPaint(const Image& large) {
        const auto bytes = EncodeImage(large, "jpg", 90);
        const auto decodeStart = Clock::now();
        DecodedImage alone = DecodeImage(bytes);
        const double decode = MillisecondsSince(decodeStart);
        alone = DecodedImage();
        m_canvas->Reset();
        wxYield();
        const auto start = Clock::now();
        const DecodedImage decoded = DecodeImage(bytes);
        m_shared.zoom = -1.0;
        m_shared.SetImageSize(decoded.image.GetWidth(), decoded.image.GetHeight());
        const auto window = Clock::now();
        m_canvas->SetImage(decoded.image);
        m_canvas->InitZoom();
        m_canvas->Refresh(false);
        m_canvas->Update();
        wxYield();
        const double busyFirst = MillisecondsSince(window);
        const double first = MillisecondsSince(start);
        Report("100 MP JPEG: first paint / one decode", first / decode, "", "at most 1.3",
               first <= 1.3 * decode);
        double busy = busyFirst;
        while (!m_canvas->GetProperties()->GetPyramid()->IsComplete()) {
            const auto slice = Clock::now();
            wxYield();
            m_canvas->Update();
            busy = std::max(busy, MillisecondsSince(slice));
            wxMilliSleep(1);
        }
        Report("100 MP JPEG: longest busy time of the window's thread", busy, "ms", "at most 50",
               busy <= 50.0);
        const double display = static_cast<double>(m_canvas->GetProperties()->GetPyramid()->GetMemoryBytes() +
                                                   m_canvas->GetBufferBytes());
        const double perPixel = display / static_cast<double>(decoded.image.GetMat().total());
        Report("100 MP JPEG: display data per pixel", perPixel, "B", "at most 5.5", perPixel <= 5.5);
        m_canvas->Reset();
    }

    static void ErrorLevel(const cv::Mat& image) {
        const Image picture(image);
        std::vector<double> whole, strips, gains;
        cv::Mat levels;
        for (int i = 0; i < 7; ++i) {
            auto start = Clock::now();
            const DecodedImage decoded = DecodeImage(EncodeImage(picture, "jpg", 90));
            cv::Mat difference;
            whole.push_back(MillisecondsSince(start));
            cv::absdiff(image, decoded.image.GetMat(), difference);
            start = Clock::now();
            levels = ComputeErrorLevel(image, {90, ErrorLevelSubsampling::None, false});
            strips.push_back(MillisecondsSince(start));
            if (cv::norm(levels, difference, cv::NORM_INF) != 0.0)
                Report("error level differs", 1, "", "bit-identical", false);
            start = Clock::now();
            AmplifyErrorLevel(levels, 2.0 + i, cv::Rect(100, 100, kWidth, kHeight));
            gains.push_back(MillisecondsSince(start));
        }
        const double ratio = Percentile(strips, 0.5) / Percentile(whole, 0.5);
        Report("error level, 24 MP / one encode + decode", ratio, "", "at most 0.75", ratio <= 0.75);
        const double gain = Percentile(gains, 0.5);
        Report("error level gain, visible part", gain, "ms", "at most 5", gain <= 5.0);
    }

    WindowProperties m_shared;
    wxFrame* m_frame = nullptr;
    ReadyPanel* m_ready = nullptr;
    wxPanel* m_panel = nullptr;
    Canvas* m_canvas = nullptr;
};

class BenchApp : public wxApp {
  public:
    bool OnInit() override {
        CallAfter([this] {
            Bench().Run();
            ExitMainLoop();
        });
        return true;
    }
    int OnRun() override {
        wxApp::OnRun();
        return g_allMet ? 0 : 1;
    }
};

}  // namespace

wxIMPLEMENT_APP(BenchApp);
