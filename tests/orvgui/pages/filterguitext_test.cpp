#include "orvgui/pages/filterguitext.h"

#include <wx/grid.h>
#include <wx/textctrl.h>

#include <numeric>

#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/filterspanel.h"
#include "tests/orvgui/framefixture.h"

TEST(TableColumns, GiveWayUntilAllAreInSight) {
    const auto fit = [](std::vector<int> widths, int room) {
        return FitColumnWidths(std::move(widths), room, 80);
    };
    EXPECT_EQ(fit({100, 150, 200}, 450), (std::vector<int>{100, 150, 200})) << "they fit";
    EXPECT_EQ(fit({100, 420, 420}, 500), (std::vector<int>{100, 200, 200}));
    EXPECT_EQ(fit({100, 300, 420}, 700), (std::vector<int>{100, 300, 300}));
    EXPECT_EQ(fit({60, 420, 420}, 100), (std::vector<int>{60, 80, 80})) << "readable, and scrolled";
    EXPECT_TRUE(fit({}, 100).empty());
}

namespace {

class TextPageTest : public FrameTest {
  protected:
    OrvFilterGui* Open(const char* id) {
        // A photograph with metadata, as every table needs one.
        Load(PathJoin(PathJoin(GetAppDataPath(), "samples"), "coffee-edited.jpg"));
        OrvFilter* filter = core->GetContext().FindFilter(id);
        auto* page =
            filter != nullptr ? dynamic_cast<OrvFilterGui*>(filter->GetAnalsyisFilterGui()) : nullptr;
        EXPECT_NE(page, nullptr) << id;
        if (page == nullptr) return nullptr;
        frame->GetFiltersPanel()->ActivateGui(page);
        Settle();
        PumpFor(150);
        return page;
    }
    template <typename Window>
    static Window* Lowest(const wxWindow* page) {
        Window* lowest = nullptr;
        for (wxWindow* child : page->GetChildren()) {
            auto* window = dynamic_cast<Window*>(child);
            if (window != nullptr && window->IsShown() &&
                (lowest == nullptr || window->GetPosition().y > lowest->GetPosition().y))
                lowest = window;
        }
        return lowest;
    }
};

}  // namespace

TEST_F(TextPageTest, TablesAndDumpsFillTheirPage) {
    for (const char* id : {"metadata", "file-structure", "hex-view"}) {
        OrvFilterGui* page = Open(id);
        ASSERT_NE(page, nullptr);
        wxWindow* result = Lowest<wxGrid>(page);
        if (result == nullptr) result = Lowest<wxTextCtrl>(page);
        ASSERT_NE(result, nullptr) << id;
        const wxSize room = page->GetClientSize();
        EXPECT_NEAR(result->GetRect().GetBottom(), room.y, 20) << id << ": down to the lower edge";
        EXPECT_GT(result->GetSize().y, room.y / 3) << id << ": the largest part";
        EXPECT_LE(page->GetVirtualSize().x, room.x) << id << ": nothing to scroll";
        EXPECT_LE(page->GetVirtualSize().y, room.y) << id;
        if (auto* grid = dynamic_cast<wxGrid*>(result)) {
            int width = 0;
            for (int column = 0; column < grid->GetNumberCols(); ++column) width += grid->GetColSize(column);
            EXPECT_LE(width, grid->GetClientSize().x) << id << ": all columns in sight";
        }
    }
}
