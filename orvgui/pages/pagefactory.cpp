#include "orvgui/pages/pagefactory.h"

#include "orvcore/filter/filter.h"
#include "orvgui/common/quietscroll.h"
#include "orvgui/pages/filterguiplot.h"
#include "orvgui/pages/filterguitext.h"
#include "orvgui/pages/filterguiviewer.h"

namespace {

template <typename Page>
OrvFilterGui* MakePage(wxWindow* parent, OrvFilter* filter) {
    return new QuietScroll<Page>(parent, filter);
}

// One row per kind of page.
const struct {
    OrvPageKind kind;
    OrvFilterGui* (*make)(wxWindow* parent, OrvFilter* filter);
} kPageMakers[] = {
    {OrvPageKind::Text, &MakePage<OrvFilterGuiText>},
    {OrvPageKind::Plot, &MakePage<OrvFilterGuiPlot>},
    {OrvPageKind::ImageSingle, &MakePage<OrvFilterGuiViewerSingle>},
    {OrvPageKind::ImageDouble, &MakePage<OrvFilterGuiViewerDouble>},
};

}  // namespace

OrvFilterGui* CreateFilterPage(wxWindow* parent, OrvFilter* filter) {
    for (const auto& maker : kPageMakers) {
        if (maker.kind == filter->GetPageKind()) return maker.make(parent, filter);
    }
    return nullptr;
}

void RegisterPageFactory() {
    OrvFilter::SetPageFactory(&CreateFilterPage);
}
