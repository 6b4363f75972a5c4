#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "orvgui/viewer/displayresample.h"
#include "zorimage/image.h"

// An image ready to be painted at any zoom: the image itself, shared and never copied, and copies of it halved again and again
// for the zooms below 100 %. The copies are made on a thread of their own, the coarse ones first, and take 1 byte per pixel
// of the image together. No window here.
//
// Made and used on the GUI thread. All canvases that show the same buffer share one of these.
class DisplayPyramid {
  public:
    // The pyramid of this image, an existing one where there is one. Null for an image without pixels.
    static std::shared_ptr<DisplayPyramid> For(const Image& image);
    explicit DisplayPyramid(const Image& image);
    ~DisplayPyramid();  // stops the building and waits for its last strip, a few milliseconds
    DisplayPyramid(const DisplayPyramid&) = delete;
    DisplayPyramid& operator=(const DisplayPyramid&) = delete;

    const Image& GetImage() const { return m_image; }
    IntPair GetSize() const { return {m_image.GetWidth(), m_image.GetHeight()}; }

    // Grows whenever finer or coarser copies have arrived: what was painted before may look better now.
    int GetVersion() const;
    bool IsComplete() const;
    void WaitComplete();
    std::size_t GetMemoryBytes() const;  // beside the image

    // Called on the building thread after each arrival; it must not wait for anything. Once RemoveListener has returned the
    // listener is not running and will not be called again.
    int AddListener(std::function<void()> listener);
    void RemoveListener(int id);

    // Paints the rectangle `part` of a screen whose pixel (0, 0) is device point `origin`: the image where it is, pixels as
    // hard squares from 100 % on and area-averaged below, and nothing elsewhere. Below 100 % a copy that is not there yet is
    // replaced by the next coarser one or by single pixels of the image.
    void Paint(double zoom, IntPair offset, IntPair origin, const IntRect& part, ScreenPixels screen) const;
    // What of `part` Paint writes to.
    IntRect PaintedPart(double zoom, IntPair offset, IntPair origin, const IntRect& part) const;

    // The whole image scaled to a size, for thumbnails. Three bytes per pixel, R, G, B.
    std::vector<std::uint8_t> Thumbnail(IntPair size) const;

  private:
    void Build(const std::stop_token& stop);
    void BuildLevels(const std::stop_token& stop, int from, int to, bool keepAll);
    void Publish(int level, const cv::Mat& mat);
    void Announce();
    cv::Mat GetLevel(int level) const;  // 0 is the image; empty when it is not there

    Image m_image;
    int m_levelCount = 0;  // halvings
    mutable std::mutex m_levelMutex;
    std::vector<cv::Mat> m_levels;  // [i] is halved i + 1 times
    std::atomic<int> m_version{0};
    std::atomic<bool> m_complete{false};

    std::mutex m_listenerMutex;
    int m_nextListener = 0;
    std::vector<std::pair<int, std::function<void()>>> m_listeners;
    std::jthread m_builder;  // last: it ends before the rest goes
};
