#pragma once

#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/frame.h>

#include <map>
#include <string>
#include <vector>

#include "orvcore/facade/interface.h"
#include "orvgui/common/framehost.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/viewerhost.h"
#include "orvgui/viewer/viewerpanel.h"
#include "tests/orvgui/children.h"
#include "tests/support/guitest.h"
#include "zorbase/text.h"

// A main window that keeps what it is told.
class FakeFrame : public wxFrame, public OrvFrameHost {
  public:
    FakeFrame() : wxFrame(nullptr, wxID_ANY, "Fake", wxPoint(0, 0), wxSize(1100, 700)) {
        wxTheApp->SetTopWindow(this);
    }
    ~FakeFrame() override { wxTheApp->SetTopWindow(nullptr); }
    WindowProperties* GetWindowProperties() const override { return &shared; }
    void SetStatusField(OrvStatusField field, const wxString& text) override { status[field] = FromWx(text); }
    std::vector<int> GetListControlColumnsWidth(const wxString& key) const override {
        const auto found = widths.find(FromWx(key));
        return found == widths.end() ? std::vector<int>() : found->second;
    }
    void SetListControlColumnsWidth(const wxString& key, const std::vector<int>& values) override {
        widths[FromWx(key)] = values;
    }
    void ShowBytes(std::uint64_t, std::uint64_t) override {}
    void ShowFilter(OrvFilter*) override {}

    mutable WindowProperties shared;
    std::map<OrvStatusField, std::string> status;
    std::map<std::string, std::vector<int>> widths;
};

// A page that does nothing but write down what its panels ask of it.
class FakeHost : public wxPanel, public OrvViewerHost {
  public:
    explicit FakeHost(wxWindow* parent) : wxPanel(parent) {
        viewer = new SplitterViewerPanel(this, false);
        strip = new OrvToolPanel(this, this);
        strip->CreateControls();
    }
    // What was asked since the last time.
    std::vector<std::string> Asked() { return std::exchange(m_asked, {}); }

    void ViewerMouseOn(wxMouseEvent&, Canvas*) override { Note("mouse"); }
    void ViewerScroll(wxScrollWinEvent&, Canvas*) override { Note("scroll"); }
    bool ViewerKey(wxKeyEvent&, Canvas*) override { return false; }
    void ViewerResized(Canvas*) override {}
    void ViewerMouseLeft() override { Note("left"); }
    std::vector<Canvas*> GetCanvases() const override { return {viewer->GetCanvas1(), viewer->GetCanvas2()}; }
    Canvas* GetCanvasFromActiveWin() override { return viewer->GetCanvas1(); }
    OrvToolPanel* GetOrvToolPanel() const override { return strip; }
    wxString GetFilterDescription() const override { return "What it does."; }
    wxString DescribeMap(const Canvas*, int, int) const override { return map; }
    void WindowSplit() override { Note("split"); }
    void WindowSwap(int phase) override { Note("swap " + std::to_string(phase)); }
    void MixPictures(int percent) override { Note("mix " + std::to_string(percent)); }
    void WindowFit() override { Note("fit"); }
    void Zoom100() override { Note("100"); }
    void ZoomEnter(const wxString& text) override { Note("enter " + FromWx(text)); }
    void ZoomMinus() override { Note("minus"); }
    void ZoomPlus() override { Note("plus"); }
    void ZoomSlider(int step) override { Note("slider " + std::to_string(step)); }
    void ZoomToSelection() override { Note("to selection"); }
    void ApplySelection(const Roi& region) override { Note("apply " + ToString(region)); }
    void ShowSidePanel(bool show) override { Note(show ? "side shown" : "side hidden"); }
    void SelectionChanged(const Roi& region) override { selection = region; }
    void MapDisplayChanged() override { Note("display"); }
    void SetMapRange(const std::string& name, const std::optional<OrvRange>& range) override {
        Note("range " + name +
             (range ? " " + std::to_string(range->low) + " " + std::to_string(range->high) : ""));
    }

    SplitterViewerPanel* viewer;
    OrvToolPanel* strip;
    Roi selection;
    wxString map;

  private:
    void Note(const std::string& what) { m_asked.push_back(what); }
    std::vector<std::string> m_asked;
};

// The strip of tools and two canvases, of 400 x 300 pixels each, on that page.
class FakeHostTest : public testing::Test {
  protected:
    FakeHostTest() {
        core.SetEventConsumer([](OrvCommandEvent&) {});
        GetSmallImageRule().Reset();
        frame = new FakeFrame;
        auto* room = new wxPanel(frame);
        host = new FakeHost(room);
        host->SetSize(0, 0, 1000, 600);
        host->strip->SetSize(0, 0, 1000, 80);
        host->viewer->SetLayout(ViewLayout::Split);
        host->viewer->SetSize(0, 100, 804, 330);
        const int caption = host->viewer->GetCanvasWin1()->GetPosition().y;
        host->viewer->SetSize(0, 100, 804, 300 + caption);
        frame->Show();
        EXPECT_TRUE(PumpUntil([this] { return frame->IsActive(); }));
        first = host->viewer->GetCanvas1();
        second = host->viewer->GetCanvas2();
    }
    ~FakeHostTest() override {
        frame->Destroy();
        Pump();
        core.WaitIdle();
        GetSmallImageRule().Reset();
    }
    // Puts a picture on both canvases, at this zoom with the view at its corner.
    void Show(const cv::Mat& picture, double zoom) {
        Image own{picture};
        Image other{picture.clone()};
        frame->shared.syncViews = true;
        host->viewer->ConfigureViewer(own, other);
        first->SetZoom(0, 0, zoom, 0, 0);
        first->SetZoom(0, 0, zoom, 0, 0);  // the first one after a change of size fits it
        second->FollowZoom(first->GetViewStart());
        host->strip->ConfigureControls();
        host->strip->RefreshValues();
        ASSERT_DOUBLE_EQ(frame->shared.zoom, zoom);
        host->Asked();
    }
    void Mouse(wxEventType type, int x, int y, bool left = false, Canvas* canvas = nullptr) {
        wxMouseEvent event(type);
        event.SetEventObject(canvas != nullptr ? canvas : first);
        event.SetPosition(wxPoint(x, y));
        event.SetLeftDown(left);
        host->strip->ViewerMouseOn(event, canvas != nullptr ? canvas : first, false);
    }
    static void Send(wxWindow* window, wxEventType type, int value = 0) {
        wxCommandEvent event(type, window->GetId());
        event.SetEventObject(window);
        event.SetInt(value);
        window->ProcessWindowEvent(event);
    }
    template <typename T>
    static std::vector<T*> All(wxWindow* parent) {
        return Children<T>(parent);
    }

    OrvInterface core;
    FakeFrame* frame;
    FakeHost* host;
    Canvas* first;
    Canvas* second;
};
