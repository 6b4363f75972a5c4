#include "orvgui/viewer/derivedpictures.h"

#include <wx/intl.h>

#include <algorithm>
#include <memory>
#include <opencv2/core.hpp>
#include <utility>

namespace {

constexpr double kAtOncePixels = 2.0e6;  // cheaper to do than to be felt
constexpr int kDifferenceRows = 256;     // between two looks whether it was stopped

// Of two images of the same size; an empty image when it was stopped.
Image AbsoluteDifference(const Image& a, const Image& b, const std::stop_token& stop) {
    const Image first = a.ToColor();
    const Image second = b.ToColor();
    cv::Mat difference(first.GetHeight(), first.GetWidth(), first.GetMat().type());
    for (int top = 0; top < difference.rows; top += kDifferenceRows) {
        if (stop.stop_requested()) return {};
        const cv::Range rows(top, std::min(top + kDifferenceRows, difference.rows));
        cv::absdiff(first.GetMat().rowRange(rows), second.GetMat().rowRange(rows), difference.rowRange(rows));
    }
    return Image(difference);
}

bool IsSameBuffer(const Image& a, const Image& b) {
    return a.GetMat().data == b.GetMat().data && a.GetMat().size() == b.GetMat().size();
}

bool IsQuick(double width, double height) {
    return width * height <= kAtOncePixels;
}

}  // namespace

DerivedPictures::DerivedPictures(wxEvtHandler& owner, std::function<void()> onReady)
    : m_onReady(std::move(onReady)),
      m_differenceTask(owner),
      m_overlayTask{BackgroundTask{owner}, BackgroundTask{owner}} {}

Image DerivedPictures::Difference(const Image& a, const Image& b, wxString& message) {
    if (!a.IsValid() || !b.IsValid()) return {};
    if (a.GetWidth() != b.GetWidth() || a.GetHeight() != b.GetHeight()) {
        message = wxString::Format(
            _("A difference needs two pictures of the same size.\nEvidence: %d x %d pixels\nReference: %d x %d pixels"),
            a.GetWidth(), a.GetHeight(), b.GetWidth(), b.GetHeight());
        return {};
    }
    if (m_difference.IsValid() && IsSameBuffer(a, m_differenceOf[0]) && IsSameBuffer(b, m_differenceOf[1]))
        return m_difference;
    if (IsQuick(a.GetWidth(), a.GetHeight())) return AbsoluteDifference(a, b, std::stop_token());
    message = _("Working out the difference...");
    const auto difference = std::make_shared<Image>();
    m_differenceTask.Start(
        [difference, a, b](const std::stop_token& stop) { *difference = AbsoluteDifference(a, b, stop); },
        [this, difference, a, b](const std::string& error) {
            // Without memory for it the message stays.
            if (!error.empty()) return;
            m_difference = *difference;
            m_differenceOf[0] = a;
            m_differenceOf[1] = b;
            m_onReady();
        });
    return {};
}

Image DerivedPictures::Overlay(OrvFileId slot, const OrvMap& map, const MapDisplay& display,
                               const Image& picture, const Image& plain) {
    OverlayMade& overlay = m_overlay[slot];
    if (overlay.IsOf(map, display)) return overlay.image;
    OverlayMade wanted;
    wanted.values = map.values;
    wanted.range = map.range;
    wanted.display = display;
    if (IsQuick(map.image.width, map.image.height)) {
        m_overlayTask[slot].Stop();
        wanted.image = OverlayMap(picture.ToColor(), map, display);
        overlay = wanted;
        return overlay.image;
    }
    const auto made = std::make_shared<OverlayMade>(wanted);
    m_overlayTask[slot].Start(
        [made, picture, map](const std::stop_token& stop) {
            made->image = OverlayMap(picture.ToColor(), map, made->display, stop);
        },
        [this, made, slot](const std::string& error) {
            if (!error.empty()) return;
            m_overlay[slot] = *made;
            m_onReady();
        });
    return overlay.image.IsValid() && overlay.values.data == map.values.data ? overlay.image : plain;
}

void DerivedPictures::Reset() {
    m_difference.Reset();
    for (Image& image : m_differenceOf) image.Reset();
    m_differenceTask.Stop();
    for (BackgroundTask& task : m_overlayTask) task.Stop();
    for (OverlayMade& overlay : m_overlay) overlay = OverlayMade();
}
