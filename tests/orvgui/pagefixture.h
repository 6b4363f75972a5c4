#pragma once

#include <gtest/gtest.h>
#include <wx/frame.h>
#include <wx/sizer.h>

#include <memory>
#include <string>

#include "orvcore/facade/interface.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/pagefactory.h"
#include "tests/support/everytypefilter.h"
#include "tests/support/guitest.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/text.h"
#include "zorimage/imageio.h"

// A core and a frame that does with the core's events what the main frame does for a page.
class PageFixture : public ::testing::Test {
  protected:
    void SetUp() override {
        core = std::make_unique<OrvInterface>();
        RegisterPageFactory();
        frame = new wxFrame(nullptr, wxID_ANY, "Pages", wxPoint(0, 0), wxSize(900, 700));
        frame->Bind(wxEVT_ORV_COMMAND, [this](OrvCommandEvent& event) {
            const bool done =
                event.GetId() == OrvEventConfigureCompleted || event.GetId() == OrvEventConfigureInterrupted;
            if (done) ++completed;
            if (done && shown != nullptr) shown->UpdateGui();
            core->PostResponse();
        });
        core->SetEventSink(frame);
    }
    void TearDown() override {
        Settle();
        core->SetEventSink(nullptr);
        frame->Destroy();
        Pump();
        core.reset();
    }

    template <typename Filter>
    Filter* Register() {
        return dynamic_cast<Filter*>(core->GetContext().RegisterFilter(std::make_unique<Filter>()));
    }
    // The page fills the frame; results are shown on it.
    template <typename Page>
    Page* MakePage(OrvFilter* filter) {
        auto* page = new Page(frame, filter);
        filter->SetAnalysisFilterGui(page);
        core->GetContext().SetActiveFilter(filter);
        page->Init();
        auto* sizer = new wxBoxSizer(wxVERTICAL);
        sizer->Add(page, 1, wxEXPAND);
        frame->SetSizer(sizer);
        frame->Layout();
        shown = page;
        return page;
    }
    // Shows the frame and waits until it has its size: while the window manager takes it over it is tiny for a moment.
    void ShowFrame() {
        frame->Show();
        ASSERT_TRUE(PumpUntil([this] { return frame->IsActive(); }));
        int steady = 0;
        ASSERT_TRUE(PumpUntil([&] {
            steady = frame->GetClientSize().GetHeight() > 400 ? steady + 1 : 0;
            return steady > 50;
        }));
    }
    // A picture as high as height; 0 empties the slot.
    void LoadFile(OrvFileId slot, int height) {
        const std::string path = folder / ("picture" + std::to_string(height) + ".png");
        if (height > 0) WriteImage(Image(cv::Mat(height, 16, CV_8UC3, cv::Scalar(1, 2, 3))), path);
        core->SetFile(height > 0 ? PathToWx(path) : wxString(), slot);
        Settle();
        ASSERT_EQ(core->HasFile(slot), height > 0);
    }
    // Until the core has nothing to do and its events are handled.
    void Settle() {
        ASSERT_TRUE(PumpUntil([this] { return !core->IsBusy(); }));
        Pump();
    }

    TemporaryFolder folder;
    std::unique_ptr<OrvInterface> core;
    wxFrame* frame = nullptr;
    OrvFilterGui* shown = nullptr;
    int completed = 0;  // events that told the end of a run
};
