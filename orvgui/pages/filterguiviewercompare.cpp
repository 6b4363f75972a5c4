// The two pictures of a mode in one place: one laid over the other.

#include <wx/intl.h>

#include <memory>
#include <opencv2/core.hpp>

#include "orvgui/pages/filterguiviewer.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/comparepanel.h"

namespace {

constexpr double kAtOncePixels = 2.0e6;  // cheaper to do than to be felt

// (100 - percent) of the first and percent of the second, which is of the same size.
Image Mix(const Image& own, const Image& other, int percent) {
    cv::Mat mixed;
    const double weight = percent / 100.0;
    cv::addWeighted(own.ToColor().GetMat(), 1.0 - weight, other.ToColor().GetMat(), weight, 0.0, mixed);
    return Image(mixed);
}

}  // namespace

// A canvas may show another picture than its own because the two are swapped or because they are mixed.
bool OrvFilterGuiViewer::IsSwapped(const Canvas& canvas) const {
    return canvas.IsShowingOther() && !IsMixed();
}

// After the canvases got their pictures: what the panel says holds for the new ones, too.
void OrvFilterGuiViewer::ShowCompare() {
    if (m_comparePanel == nullptr) return;
    m_mixTask.Stop();
    m_mixPercent = 0;
    const WindowProperties* shared = GetSharedWindowProperties();
    const auto canvases = GetCanvases();
    const bool areTwo = shared != nullptr && shared->syncViews && canvases[0]->GetOwnImage().IsValid() &&
                        canvases[1]->GetOwnImage().IsValid();
    wxString reason;
    if (areTwo &&
        canvases[0]->GetProperties()->GetPixelSize() != canvases[1]->GetProperties()->GetPixelSize())
        reason = _("Only pictures of the same size can be laid over one another.");
    m_comparePanel->SetPictures(areTwo, reason);
    if (m_comparePanel->GetMix() > 0) MixPictures(m_comparePanel->GetMix());
}

void OrvFilterGuiViewer::MixPictures(int percent) {
    const auto canvases = GetCanvases();
    if (canvases.size() != 2) return;
    m_mixTask.Stop();
    const Image first = canvases[0]->GetOwnImage();
    const Image second = canvases[1]->GetOwnImage();
    const bool areAlike = first.IsValid() && second.IsValid() && first.GetWidth() == second.GetWidth() &&
                          first.GetHeight() == second.GetHeight();
    if (percent <= 0 || !areAlike) {
        if (IsMixed()) ShowMix(Image(), Image(), 0);
        return;
    }
    if (static_cast<double>(first.GetWidth()) * first.GetHeight() <= kAtOncePixels) {
        ShowMix(Mix(first, second, percent), Mix(second, first, percent), percent);
        return;
    }
    const auto mixed = std::make_shared<std::pair<Image, Image>>();
    m_mixTask.Start(
        [mixed, first, second, percent](const std::stop_token& stop) {
            mixed->first = Mix(first, second, percent);
            if (!stop.stop_requested()) mixed->second = Mix(second, first, percent);
        },
        [this, mixed, percent](const std::string& error) {
            if (error.empty()) ShowMix(mixed->first, mixed->second, percent);
        });
}

void OrvFilterGuiViewer::ShowMix(const Image& first, const Image& second, int percent) {
    const auto canvases = GetCanvases();
    for (Canvas* canvas : canvases) canvas->ShowOwn();
    m_mixPercent = percent;
    if (percent > 0) {
        canvases[0]->ShowInstead(first);
        canvases[1]->ShowInstead(second);
    }
    ViewChanged(false);
}
