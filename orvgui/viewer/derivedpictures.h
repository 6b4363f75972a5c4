#pragma once

#include <opencv2/core/mat.hpp>

#include <functional>

#include "orvcore/filter/map.h"
#include "orvcore/model/fileid.h"
#include "orvgui/common/backgroundtask.h"
#include "orvgui/viewer/mapview.h"

// The pictures that the window makes of a result's own: the difference of two, and a map laid over its picture. Small ones are
// made at once, large ones beside the GUI thread; the newest of each kind is kept. What a filter computes is not made here. GUI
// thread.
class DerivedPictures {
  public:
    // `owner` outlives this. `onReady` is called when a large picture that was asked for is there: ask again then.
    DerivedPictures(wxEvtHandler& owner, std::function<void()> onReady);

    // The absolute difference, sample by sample; empty while it is worked out and where there is none: then `message` says why,
    // otherwise it is left alone.
    Image Difference(const Image& a, const Image& b, wxString& message);
    // The slot's map over `picture` as `display` says; until a large one is there, the last one of the same map, else `plain`.
    Image Overlay(OrvFileId slot, const OrvMap& map, const MapDisplay& display, const Image& picture,
                  const Image& plain);
    // Stops what is made and forgets everything.
    void Reset();

  private:
    // A picture with its map laid over it, and of what it was made.
    struct OverlayMade {
        Image image;
        cv::Mat values;  // of the map; shared
        OrvRange range;
        MapDisplay display;
        bool IsOf(const OrvMap& map, const MapDisplay& wanted) const {
            return image.IsValid() && values.data == map.values.data && range == map.range &&
                   display == wanted;
        }
    };

    std::function<void()> m_onReady;
    Image m_difference;  // the newest, and what it was made of
    Image m_differenceOf[2];
    OverlayMade m_overlay[kFileSlots];
    BackgroundTask m_differenceTask;
    BackgroundTask m_overlayTask[kFileSlots];
};
