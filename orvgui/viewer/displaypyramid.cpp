#include "orvgui/viewer/displaypyramid.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace {

constexpr double kCoarsePixels = 3.0e6;       // the first copy to arrive is the finest one below this
constexpr double kBuildAtOncePixels = 1.0e6;  // cheaper to build than to start a thread
constexpr int kStripBytes = 8 * 1024 * 1024;  // of the image, between two looks at the stop token

std::mutex& RegistryMutex() {
    static std::mutex mutex;
    return mutex;
}

std::map<const void*, std::weak_ptr<DisplayPyramid>>& Registry() {
    static std::map<const void*, std::weak_ptr<DisplayPyramid>> registry;
    return registry;
}

bool IsSameBuffer(const cv::Mat& a, const cv::Mat& b) {
    return a.data == b.data && a.size() == b.size() && a.type() == b.type() && a.step[0] == b.step[0];
}

int CountLevels(const cv::Mat& mat) {
    int levels = 0;
    for (int side = std::max(mat.cols, mat.rows); side > 1; side = (side + 1) / 2) ++levels;
    return levels;
}

int HalvedSide(int side, int times) {
    for (; times > 0; --times) side = (side + 1) / 2;
    return side;
}

}  // namespace

std::shared_ptr<DisplayPyramid> DisplayPyramid::For(const Image& image) {
    if (!image.IsValid()) return nullptr;
    const std::lock_guard lock(RegistryMutex());
    auto& registry = Registry();
    std::erase_if(registry, [](const auto& entry) { return entry.second.expired(); });
    auto& entry = registry[image.GetMat().data];
    if (std::shared_ptr<DisplayPyramid> known = entry.lock();
        known && IsSameBuffer(known->GetImage().GetMat(), image.GetMat())) {
        return known;
    }
    auto made = std::make_shared<DisplayPyramid>(image);
    entry = made;
    return made;
}

DisplayPyramid::DisplayPyramid(const Image& image)
    : m_image(image), m_levelCount(CountLevels(image.GetMat())) {
    m_levels.resize(static_cast<std::size_t>(m_levelCount));
    const double pixels = static_cast<double>(image.GetWidth()) * image.GetHeight();
    if (pixels <= kBuildAtOncePixels) {
        Build({});
    } else {
        m_builder = std::jthread([this](const std::stop_token& stop) { Build(stop); });
    }
}

DisplayPyramid::~DisplayPyramid() = default;

int DisplayPyramid::GetVersion() const {
    return m_version.load();
}

bool DisplayPyramid::IsComplete() const {
    return m_complete.load();
}

void DisplayPyramid::WaitComplete() {
    if (m_builder.joinable()) m_builder.join();
}

std::size_t DisplayPyramid::GetMemoryBytes() const {
    const std::lock_guard lock(m_levelMutex);
    std::size_t bytes = 0;
    for (const cv::Mat& level : m_levels) bytes += level.total() * level.elemSize();
    return bytes;
}

int DisplayPyramid::AddListener(std::function<void()> listener) {
    const std::lock_guard lock(m_listenerMutex);
    m_listeners.emplace_back(m_nextListener, std::move(listener));
    return m_nextListener++;
}

void DisplayPyramid::RemoveListener(int id) {
    const std::lock_guard lock(m_listenerMutex);
    std::erase_if(m_listeners, [id](const auto& entry) { return entry.first == id; });
}

void DisplayPyramid::Announce() {
    ++m_version;
    const std::lock_guard lock(m_listenerMutex);
    for (const auto& entry : m_listeners) entry.second();
}

void DisplayPyramid::Publish(int level, const cv::Mat& mat) {
    const std::lock_guard lock(m_levelMutex);
    m_levels[static_cast<std::size_t>(level - 1)] = mat;
}

cv::Mat DisplayPyramid::GetLevel(int level) const {
    if (level == 0) return m_image.GetMat();
    const std::lock_guard lock(m_levelMutex);
    return m_levels[static_cast<std::size_t>(level - 1)];
}

// Levels first up to last straight from the image, strip by strip while a strip is warm. keepAll: every level on the way is
// kept, otherwise only the last one.
void DisplayPyramid::BuildLevels(const std::stop_token& stop, int first, int last, bool keepAll) {
    const cv::Mat& image = m_image.GetMat();
    const int block = 1 << last;
    std::vector<cv::Mat> made(static_cast<std::size_t>(last) + 1);
    for (int level = keepAll ? first : last; level <= last; ++level) {
        made[static_cast<std::size_t>(level)].create(HalvedSide(image.rows, level),
                                                     HalvedSide(image.cols, level), CV_8UC3);
    }
    const int strips = (image.rows + block - 1) / block;
    const std::size_t stripBytes = image.step[0] * static_cast<std::size_t>(block);
    const int batch = std::max(static_cast<int>(kStripBytes / std::max<std::size_t>(stripBytes, 1)), 1);
    for (int start = 0; start < strips; start += batch) {
        if (stop.stop_requested()) return;
        cv::parallel_for_(cv::Range(start, std::min(start + batch, strips)), [&](const cv::Range& range) {
            for (int strip = range.start; strip < range.end; ++strip) {
                const int top = strip * block;
                cv::Mat rows = image.rowRange(top, std::min(top + block, image.rows));
                for (int level = 1; level <= last; ++level) {
                    rows = HalveImage(rows);
                    cv::Mat& whole = made[static_cast<std::size_t>(level)];
                    if (!whole.empty()) {
                        const int at = top >> level;
                        rows.copyTo(whole.rowRange(at, at + rows.rows));
                    }
                }
            }
        });
    }
    for (int level = 1; level <= last; ++level) {
        if (!made[static_cast<std::size_t>(level)].empty())
            Publish(level, made[static_cast<std::size_t>(level)]);
    }
}

void DisplayPyramid::Build(const std::stop_token& stop) {
    const cv::Mat& image = m_image.GetMat();
    int coarse = 1;
    while (coarse<m_levelCount&& static_cast<double>(HalvedSide(image.cols, coarse)) *
                  HalvedSide(image.rows, coarse)>
               kCoarsePixels) {
        ++coarse;
    }
    if (m_levelCount > 0) {
        BuildLevels(stop, coarse, coarse, false);
        for (int level = coarse + 1; level <= m_levelCount && !stop.stop_requested(); ++level) {
            Publish(level, HalveImage(GetLevel(level - 1)));
        }
        if (stop.stop_requested()) return;
        Announce();
        if (coarse > 1) {
            BuildLevels(stop, 1, coarse - 1, true);
            if (stop.stop_requested()) return;
        }
    }
    m_complete = true;
    if (coarse > 1) Announce();
}

IntRect DisplayPyramid::PaintedPart(double zoom, IntPair offset, IntPair origin, const IntRect& part) const {
    const IntPair size = GetSize();
    const DeviceRange across = PaintedRange(offset.x, size.x, zoom);
    const DeviceRange down = PaintedRange(offset.y, size.y, zoom);
    const auto along = [](const DeviceRange& range, int start, int from, int length) {
        const long begin = std::max<long>(static_cast<long>(range.begin) - start, from);
        const long end =
            std::min<long>(static_cast<long>(range.end) - start, static_cast<long>(from) + length);
        return std::pair<int, int>(static_cast<int>(begin), static_cast<int>(std::max(end - begin, 0L)));
    };
    const auto [x, width] = along(across, origin.x, part.x, part.width);
    const auto [y, height] = along(down, origin.y, part.y, part.height);
    if (width <= 0 || height <= 0) return {};
    return {x, y, width, height};
}

void DisplayPyramid::Paint(double zoom, IntPair offset, IntPair origin, const IntRect& part,
                           ScreenPixels screen) const {
    const IntRect painted = PaintedPart(zoom, offset, origin, part);
    if (painted.IsEmpty()) return;
    ResampleView view{zoom, GetSize(), offset, origin, 1};
    if (zoom >= 1.0) {
        ResampleNearest(m_image.GetMat(), view, painted, screen);
        return;
    }
    int wanted = 0;
    while (wanted < m_levelCount && zoom * std::ldexp(1.0, wanted + 1) <= 1.0) ++wanted;
    // The last copy has one pixel only, so a screen pixel never covers more than two of a copy.
    for (int level = wanted; level <= m_levelCount; ++level) {
        const cv::Mat source = GetLevel(level);
        if (source.empty()) continue;
        view.scale = 1 << level;
        ResampleAverage(source, view, painted, screen);
        return;
    }
    ResampleNearest(m_image.GetMat(), view, painted, screen);
}

std::vector<std::uint8_t> DisplayPyramid::Thumbnail(IntPair size) const {
    std::vector<std::uint8_t> rgb(static_cast<std::size_t>(std::max(size.x, 0)) *
                                  static_cast<std::size_t>(std::max(size.y, 0)) * 3);
    const IntPair image = GetSize();
    // The coarsest copy that still has at least a pixel for each of the thumbnail's; scaled along each axis on its own.
    int level = 0;
    for (int next = 1; next <= m_levelCount; ++next) {
        if (HalvedSide(image.x, next) < size.x || HalvedSide(image.y, next) < size.y) break;
        if (!GetLevel(next).empty()) level = next;
    }
    const cv::Mat source = GetLevel(level);
    const double stepX = static_cast<double>(source.cols) / std::max(size.x, 1);
    const double stepY = static_cast<double>(source.rows) / std::max(size.y, 1);
    std::size_t at = 0;
    for (int y = 0; y < size.y; ++y) {
        const int row = std::min(static_cast<int>((y + 0.5) * stepY), source.rows - 1);
        for (int x = 0; x < size.x; ++x, at += 3) {
            const int column = std::min(static_cast<int>((x + 0.5) * stepX), source.cols - 1);
            const DisplayColour colour = DisplayColourAt(source, column, row);
            rgb[at] = static_cast<std::uint8_t>(colour.red);
            rgb[at + 1] = static_cast<std::uint8_t>(colour.green);
            rgb[at + 2] = static_cast<std::uint8_t>(colour.blue);
        }
    }
    return rgb;
}
