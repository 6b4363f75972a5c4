#pragma once

#include <gtest/gtest.h>
#include <wx/dcmemory.h>
#include <wx/frame.h>

#include "orvgui/viewer/canvas.h"
#include "tests/support/guitest.h"

// A canvas in a panel of a given size, with a shared record of its own.
class CanvasTest : public testing::Test {
  protected:
    CanvasTest() {
        SetSharedWindowProperties(&m_shared);
        GetSmallImageRule().Reset();
        m_frame = new wxFrame(nullptr, wxID_ANY, "canvas", wxPoint(0, 0), wxSize(1000, 900));
        // A frame stretches an only child over itself.
        auto* room = new wxPanel(m_frame);
        m_panel = new wxPanel(room, wxID_ANY, wxDefaultPosition, wxSize(1, 1));
        m_panel->SetSize(1, 1);
        m_canvas = new Canvas(m_panel, 6000, false, true, "canvas");
        m_frame->Show();
    }
    ~CanvasTest() override {
        m_frame->Destroy();
        Pump();
        SetSharedWindowProperties(nullptr);
        GetSmallImageRule().Reset();
    }

    // The canvas without its frame has exactly the panel's size.
    void Size(int width, int height) {
        m_panel->SetSize(0, 0, width, height);
        const wxSize border = m_canvas->GetWindowBorderSize();
        m_canvas->SetSize(-border.x / 2, -border.y / 2, width + border.x, height + border.y);
        PumpFrames();
    }

    void Show(const cv::Mat& image) {
        m_canvas->SetImage(Image(image));
        m_shared.SetImageSize(image.cols, image.rows);
    }

    wxImage Paint() {
        wxSize size = m_canvas->GetClientSize();
        size.IncTo(wxSize(1, 1));
        wxBitmap bitmap(size);
        {
            wxMemoryDC dc(bitmap);
            m_canvas->DoPrepareDC(dc);
            m_canvas->Draw(dc);
        }
        return bitmap.ConvertToImage();
    }

    // The scaled bitmap, drawn by the toolkit alone.
    wxImage PaintPlainly() {
        const wxSize size = m_canvas->GetClientSize();
        wxBitmap bitmap(size);
        {
            wxMemoryDC dc(bitmap);
            dc.SetBackground(wxBrush(wxColour(200, 200, 200)));
            dc.Clear();
            m_canvas->DoPrepareDC(dc);
            dc.SetUserScale(m_shared.zoom, m_shared.zoom);
            dc.DrawBitmap(m_canvas->GetProperties()->GetBmpImage(), m_shared.offset.x, m_shared.offset.y,
                          false);
        }
        return bitmap.ConvertToImage();
    }

    WindowProperties m_shared;
    wxFrame* m_frame;
    wxPanel* m_panel;
    Canvas* m_canvas;
};
