// What a result table costs: opening, jumping by pages, automatic widths, sorting; small tables against large ones.
// Run under a display: tests/support/with-display build/release/bin/table_bench

#include <malloc.h>
#include <wx/app.h>
#include <wx/frame.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <random>

#include "bench/startclock.h"
#include "orvcore/tables/tables.h"
#include "orvgui/tables/listctrl.h"
#include "zorbase/text.h"

namespace {

constexpr int kColumns = 8;

double Milliseconds(const std::function<void()>& work) {
    const std::int64_t start = SharedNanoseconds();
    work();
    return static_cast<double>(SharedNanoseconds() - start) / 1e6;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double HeapMegabytes() {
    const struct mallinfo2 facts = mallinfo2();
    return static_cast<double>(facts.uordblks + facts.hblkhd) / 1e6;
}

ListCtrlView::Source MakeTable(int rows) {
    std::mt19937 random(3);
    auto table = std::make_shared<TableString>();
    table->reserve(static_cast<std::size_t>(rows) + 1);
    table->push_back({"Name", "Full Path", "Size", "Modified", "Make", "Quality", "GPS", "SHA-256"});
    for (int i = 0; i < rows; ++i) {
        const std::string number = ToString(static_cast<int>(random() % 1000000));
        table->push_back({"IMG_" + number + ".JPG", "/cases/2026-11/photographs/IMG_" + number + ".JPG",
                          ToString(static_cast<int>(random() % 9000000)) + " bytes",
                          "2026-11-21 14:" + ToString(static_cast<int>(10 + random() % 50)) + ":59 +0100",
                          random() % 2 != 0 ? "Canon" : "!Nikon", ToString(static_cast<int>(random() % 100)),
                          random() % 2 != 0 ? "?yes" : "no", number + "e5d1f0b4c3a29788"});
    }
    return table;
}

struct Opened {
    double openMs = 0;
    double heapMb = 0;
    double widthsMs = 0;
    double pageMs = 0;  // 0 when no jump was painted
};

// Opens the table in a window, until it is painted, and closes it.
Opened Open(wxFrame& frame, const ListCtrlView::Source& table) {
    Opened result;
    OrvListCtrl* list = nullptr;
    const double heap = HeapMegabytes();
    result.openMs = Milliseconds([&] {
        list = new OrvListCtrl(&frame, table, 0, wxGrid::wxGridSelectRows, wxHORIZONTAL);
        list->SetSize(frame.GetClientSize());
        list->Update();
        wxYield();
    });
    result.heapMb = HeapMegabytes() - heap;
    result.widthsMs = Milliseconds([&] { list->SetThumbnails({}); });  // measures anew
    std::vector<double> pages;
    bool isPainted = false;
    list->GetGridWindow()->Bind(wxEVT_PAINT, [&isPainted](wxPaintEvent& event) {
        isPainted = true;
        event.Skip();
    });
    for (int i = 1; i <= 30; ++i) {
        isPainted = false;
        const double time = Milliseconds([&] {
            list->GoToCell(static_cast<int>(static_cast<std::int64_t>(list->GetNumRows() - 1) * i / 30), 0);
            list->Update();
            wxYield();
        });
        // The display's clock lets some jumps pass without painting: these say nothing.
        if (isPainted) pages.push_back(time);
    }
    if (!pages.empty()) result.pageMs = Median(pages);
    list->Destroy();
    wxYield();
    return result;
}

class BenchApp : public wxApp {
  public:
    bool OnInit() override {
        m_frame = new wxFrame(nullptr, wxID_ANY, "table", wxPoint(0, 0), wxSize(1200, 600));
        m_frame->Show();
        CallAfter([this] {
            Run();
            m_frame->Destroy();
        });
        return true;
    }

  private:
    void Run() {
        wxYield();
        const ListCtrlView::Source small = MakeTable(10000);
        const ListCtrlView::Source large = MakeTable(1000000);
        std::vector<Opened> smallRuns;
        std::vector<Opened> largeRuns;
        for (int i = 0; i < 9; ++i) {  // in turn, so that a busy machine slows both
            smallRuns.push_back(Open(*m_frame, small));
            largeRuns.push_back(Open(*m_frame, large));
        }
        const auto median = [](const std::vector<Opened>& runs, double Opened::*member) {
            std::vector<double> values;
            for (const Opened& run : runs)
                if (run.*member > 0) values.push_back(run.*member);
            return values.empty() ? 0 : Median(values);
        };
        const auto compare = [&](const char* what, double Opened::*member, double goal) {
            const double a = median(smallRuns, member);
            const double b = median(largeRuns, member);
            std::printf(
                "%-28s 10,000 rows %7.2f ms, 1,000,000 rows %7.2f ms, ratio %.2f (goal: at most %.1f)\n",
                what, a, b, b / a, goal);
        };
        compare("open", &Opened::openMs, 1.5);
        compare("page jump", &Opened::pageMs, 1.2);
        std::printf("memory of the control at 1,000,000 rows: %.2f MB (goal: at most 10)\n",
                    median(largeRuns, &Opened::heapMb));
        std::printf("automatic widths at 1,000,000 rows: %.2f ms (goal: under 20)\n",
                    median(largeRuns, &Opened::widthsMs));
        const ListCtrlView::Source sorted = MakeTable(100000);
        for (int column = 0; column < kColumns; ++column) {
            const double ms = Milliseconds([&] { SortRows(*sorted, OwnOrder(*sorted), column, true); });
            std::printf("sort 100,000 rows by %-10s %7.1f ms (goal: under 500)\n",
                        (*sorted)[0][static_cast<std::size_t>(column)].c_str(), ms);
        }
        std::printf("filter 1,000,000 rows: %.0f ms beside the window's thread\n",
                    Milliseconds([&] { FilterRows(*large, OwnOrder(*large), "nikon 999"); }));
        std::fflush(stdout);
    }

    wxFrame* m_frame = nullptr;
};

}  // namespace

wxIMPLEMENT_APP(BenchApp);
