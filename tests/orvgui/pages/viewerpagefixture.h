#pragma once

#include "orvgui/pages/filterguiviewer.h"

#include <gtest/gtest.h>
#include <wx/choice.h>
#include <wx/dcmemory.h>
#include <wx/frame.h>
#include <wx/sizer.h>


#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/navigatorcanvas.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/viewerpanel.h"
#include "orvgui/viewer/zoompanel.h"
#include "tests/support/guitest.h"
#include "tests/support/testcore.h"
#include "zorbase/text.h"

// Shows the picture and its negative.
class NegativeFilter : public OrvFilterImage {
  public:
    NegativeFilter() : OrvFilterImage("Negative", "negative") {
        Describe("Test", "The negative of the picture.");
        SetParameters({Parameter::Region("region", "Region", Roi(), ParameterType::OrvRoi)}, {},
                      {Parameter::Output(ParameterType::OutputString, "size", "Size")});
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        result.inputImage = file.GetDecoded(job)->image.ToColor();
        cv::Mat negative;
        cv::subtract(cv::Scalar::all(255), result.inputImage.GetMat(), negative);
        result.outputImage = Image(negative);
    }
};

class ViewerPageTest : public testing::Test {
  protected:
    ViewerPageTest() {
        SetSharedWindowProperties(&m_shared);
        GetSmallImageRule().Reset();
        m_core.SetEventConsumer([](OrvCommandEvent&) {});
        m_filter = static_cast<NegativeFilter*>(
            m_core.GetContext().RegisterFilter(std::make_unique<NegativeFilter>()));
        m_frame = new wxFrame(nullptr, wxID_ANY, "viewer", wxPoint(0, 0), wxSize(1200, 900));
        m_page = new OrvFilterGuiViewerDouble(m_frame, m_filter);
        m_frame->Show();
    }
    ~ViewerPageTest() override {
        m_frame->Destroy();
        Pump();
        m_core.WaitIdle();
        SetSharedWindowProperties(nullptr);
        GetSmallImageRule().Reset();
    }

    // A picture whose pixels tell where they are.
    std::string WritePattern(const std::string& name, int width, int height, int blue) {
        cv::Mat image(height, width, CV_8UC3);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) image.at<cv::Vec3b>(y, x) = cv::Vec3b(blue, y % 251, x % 251);
        }
        const std::string path = m_folder / name;
        WriteFile(path, EncodeImage(Image(image), "png"));
        return path;
    }

    void Load(const std::string& evidence, const std::string& reference) {
        m_core.SetFile(PathToWx(evidence), OrvEvidence);
        m_core.SetFile(PathToWx(reference), OrvReference);
        m_core.Configure(m_filter, -1, m_filter->GetParametersInput(),
                         m_filter->GetParametersPostProcessing(), false);
        m_core.WaitIdle();
    }
    void Build() {
        PumpFrames();
        m_page->SetSize(m_frame->GetClientSize());
        m_page->Init();
        m_page->Layout();
        m_page->SendSizeEvent();
        PumpFrames();
    }
    void Choose(int mode) {
        m_page->GetOrvToolPanel()->GetZoomPanel()->SetWindowSplitVal(mode);
        m_page->WindowSplit();
        PumpFrames();
    }
    Canvas* First() { return static_cast<SplitterViewerPanel*>(m_page->GetViewerPanel())->GetCanvas1(); }
    Canvas* Second() { return static_cast<SplitterViewerPanel*>(m_page->GetViewerPanel())->GetCanvas2(); }

    static cv::Vec3b PixelOf(Canvas* canvas, int x, int y) {
        int red = 0;
        int green = 0;
        int blue = 0;
        canvas->GetRGB(red, green, blue, x, y);
        return cv::Vec3b(static_cast<uchar>(blue), static_cast<uchar>(green), static_cast<uchar>(red));
    }

    // Both halves show the same image point under the same window point, at the same view start.
    void ExpectInStep(const std::string& after) {
        ASSERT_EQ(First()->GetViewStart(), Second()->GetViewStart()) << after;
        int firstRate = 0;
        int secondRate = 0;
        int unused = 0;
        First()->GetScrollPixelsPerUnit(&firstRate, &unused);
        Second()->GetScrollPixelsPerUnit(&secondRate, &unused);
        ASSERT_EQ(firstRate, secondRate) << after;
        ASSERT_EQ(firstRate, m_shared.scrollRate) << after;
        for (const wxPoint& point : {wxPoint(0, 0), wxPoint(111, 77), wxPoint(300, 400)}) {
            int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
            First()->GetPixelCoordinates(point.x, point.y, x1, y1, false, false);
            Second()->GetPixelCoordinates(point.x, point.y, x2, y2, false, false);
            ASSERT_EQ(x1, x2) << after;
            ASSERT_EQ(y1, y2) << after;
        }
    }

    // Where a zoom step about an image point has to bring the view, by the canvas's own range: the point's relative place in the
    // picture becomes the relative scroll position.
    static wxPoint AskedPlace(Canvas* canvas, IntPair centre) {
        const IntPair scroll =
            ScrollForCentre({canvas->GetScrollLines(wxHORIZONTAL), canvas->GetScrollLines(wxVERTICAL)},
                            {canvas->GetScrollPageSize(wxHORIZONTAL), canvas->GetScrollPageSize(wxVERTICAL)},
                            centre, canvas->GetProperties()->GetPixelSize());
        return {std::max(scroll.x, 0), std::max(scroll.y, 0)};
    }
    // Scroll bars that come or go change the range a little after the step.
    void ExpectPlace(const wxPoint& asked, const std::string& after) {
        constexpr int kBarPixels = 24;
        const int tolerance = 1 + kBarPixels / std::max(m_shared.scrollRate, 1);
        for (Canvas* canvas : {First(), Second()}) {
            if (!canvas->GetParent()->IsShown() || !canvas->HasImage()) continue;
            EXPECT_NEAR(canvas->GetViewStart().x, asked.x, tolerance) << after;
            EXPECT_NEAR(canvas->GetViewStart().y, asked.y, tolerance) << after;
        }
    }

    void SendMouse(Canvas* canvas, wxEventType type, int x, int y, bool left = false, bool right = false,
                   int wheel = 0) {
        wxMouseEvent event(type);
        event.SetEventObject(canvas);
        event.SetPosition(wxPoint(x, y));
        event.SetLeftDown(left);
        event.SetRightDown(right);
        event.m_wheelRotation = wheel;
        event.m_wheelDelta = 120;
        canvas->ProcessWindowEvent(event);
    }
    void Enter(Canvas* canvas) { SendMouse(canvas, wxEVT_ENTER_WINDOW, 1, 1); }
    void SendKey(Canvas* canvas, wxEventType type, int code) {
        wxKeyEvent event(type);
        event.SetEventObject(canvas);
        event.m_keyCode = code;
        canvas->ProcessWindowEvent(event);
    }

    CaseFolder m_folder;
    WindowProperties m_shared;
    OrvInterface m_core;
    NegativeFilter* m_filter;
    wxFrame* m_frame;
    OrvFilterGuiViewerDouble* m_page;
};
