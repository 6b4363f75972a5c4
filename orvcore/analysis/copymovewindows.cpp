#include "orvcore/analysis/copymovewindows.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <map>
#include <memory>
#include <numbers>

namespace {

constexpr int kSide = kCopyWindow;
constexpr int kHalf = kSide / 2;
constexpr int kOrder = 5;  // u + v < 5
constexpr int kTileRows = 64;
constexpr int kTileColumns = 512;
constexpr float kStep = 16.0F;
constexpr float kMeanStep = 32.0F;  // of the DC coefficient: 2 levels
constexpr float kLeastEnergy = 2.0F * 2.0F * kSide * kSide;
constexpr float kDarkest = 4.0F * kSide;
constexpr float kBrightest = 251.0F * kSide;

constexpr int kBuckets = 256;
constexpr std::uint32_t kLastOfGroup = 0x80000000U;
constexpr std::uint32_t kMostAlike = 24;
constexpr int kBin = 4;  // pixels of a vote's bin
constexpr std::int64_t kMostPairs = 2'000'000;
constexpr std::size_t kMostBins = 4096;
constexpr int kCell = 16;

struct Basis {
    std::array<std::array<float, kHalf>, kOrder>
        at{};  // the second half mirrors the first, odd ones with the other sign
    Basis() {
        for (std::size_t u = 0; u < kOrder; ++u)
            for (std::size_t k = 0; k < kHalf; ++k)
                at[u][k] =
                    static_cast<float>((u == 0 ? std::sqrt(1.0 / kSide) : std::sqrt(2.0 / kSide)) *
                                       std::cos((2.0 * static_cast<double>(k) + 1.0) *
                                                static_cast<double>(u) * std::numbers::pi / (2.0 * kSide)));
    }
};

// Odd numbers without pattern: a sum of small multiples of them tells nearly all combinations apart.
std::uint32_t Multiplier(int index) {
    std::uint64_t z = 0x9E3779B97F4A7C15ULL * static_cast<std::uint64_t>(index + 1);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return static_cast<std::uint32_t>(z >> 32) | 1U;
}

// One tile's buffers.
struct Tile {
    // Horizontal transforms: kOrder planes of (kTileRows + kSide - 1) rows of kTileColumns.
    std::vector<float> planes = std::vector<float>(kOrder * (kTileRows + kSide - 1) * kTileColumns);
    std::array<float, kTileColumns + kSide> levels{};
    std::array<float, kTileColumns> coefficient{};
    std::array<float, kTileColumns> energy{};
    std::array<float, kTileColumns> mean{};
    std::array<std::uint32_t, kTileColumns> key{};

    float* Row(int u, int y) { return planes.data() + (u * (kTileRows + kSide - 1) + y) * kTileColumns; }
};

void TransformRow(const std::uint8_t* source, int columns, const Basis& basis, Tile& tile, int row) {
    for (int x = 0; x < columns + kSide - 1; ++x) tile.levels[static_cast<std::size_t>(x)] = source[x];
    const float* level = tile.levels.data();
    for (int u = 0; u < kOrder; ++u) {
        const auto& c = basis.at[static_cast<std::size_t>(u)];
        const float sign = u % 2 == 0 ? 1.0F : -1.0F;
        float* target = tile.Row(u, row);
        for (int x = 0; x < columns; ++x) {
            float sum = 0.0F;
            for (int k = 0; k < kHalf; ++k)
                sum += c[static_cast<std::size_t>(k)] * (level[x + k] + sign * level[x + kSide - 1 - k]);
            target[x] = sum;
        }
    }
}

void AddCoefficient(Tile& tile, int y, int u, int v, int columns, const Basis& basis,
                    std::uint32_t multiplier) {
    std::array<const float*, kSide> rows{};
    for (int k = 0; k < kSide; ++k) rows[static_cast<std::size_t>(k)] = tile.Row(u, y + k);
    const auto& c = basis.at[static_cast<std::size_t>(v)];
    const float sign = v % 2 == 0 ? 1.0F : -1.0F;
    float* value = tile.coefficient.data();
    for (int x = 0; x < columns; ++x) {
        float sum = 0.0F;
        for (std::size_t k = 0; k < kHalf; ++k) sum += c[k] * (rows[k][x] + sign * rows[kSide - 1 - k][x]);
        value[x] = sum;
    }
    const bool isMean = u == 0 && v == 0;
    const float inverse = 1.0F / (isMean ? kMeanStep : kStep);
    std::uint32_t* key = tile.key.data();
    for (int x = 0; x < columns; ++x)
        key[x] +=
            static_cast<std::uint32_t>(static_cast<std::int32_t>(value[x] * inverse + 4096.5F)) * multiplier;
    if (isMean) {
        std::copy_n(value, columns, tile.mean.data());
        return;
    }
    float* energy = tile.energy.data();
    for (int x = 0; x < columns; ++x) energy[x] += value[x] * value[x];
}

struct KindCounts {
    std::int64_t smooth = 0;
    std::int64_t saturated = 0;
};

void StoreRow(const Tile& tile, int columns, std::int32_t* target, KindCounts& counts) {
    for (std::size_t x = 0; x < static_cast<std::size_t>(columns); ++x) {
        std::uint32_t key = tile.key[x];
        // Spread what neighbouring sums share over all bits: the highest choose the bucket.
        key ^= key >> 16;
        key *= 0x7FEB352DU;
        key ^= key >> 15;
        key *= 0x846CA68BU;
        key ^= key >> 16;
        if (tile.mean[x] < kDarkest || tile.mean[x] > kBrightest) {
            ++counts.saturated;
            key = 0;
        } else if (tile.energy[x] < kLeastEnergy) {
            ++counts.smooth;
            key = 0;
        } else if (key == 0) {
            key = 1;
        }
        target[x] = static_cast<std::int32_t>(key);
    }
}

// Windows in the order of their keys; the last of each group of equal ones is marked.
class SortedWindows {
  public:
    SortedWindows(const cv::Mat& keys, const AnalysisProgress& progress) : m_keys(keys) {
        const int strips = (keys.rows + kTileRows - 1) / kTileRows;
        std::vector<std::array<std::uint32_t, kBuckets>> counts(static_cast<std::size_t>(strips));
        ForEachStrip(keys.rows, kTileRows, PartOf(progress, 0.0, 0.15), [&](int first, int end) {
            auto& count = counts[static_cast<std::size_t>(first / kTileRows)];
            for (int y = first; y < end; ++y) {
                const std::uint32_t* key = Keys(y);
                for (int x = 0; x < keys.cols; ++x)
                    if (key[x] != 0) ++count[key[x] >> 24];
            }
        });
        std::uint32_t total = 0;
        for (std::size_t bucket = 0; bucket < kBuckets; ++bucket) {
            m_begin[bucket] = total;
            for (auto& count : counts) {
                const std::uint32_t here = count[bucket];
                count[bucket] = total;
                total += here;
            }
        }
        m_begin[kBuckets] = total;
        m_places.resize(total);
        ForEachStrip(keys.rows, kTileRows, PartOf(progress, 0.15, 0.4), [&](int first, int end) {
            auto& next = counts[static_cast<std::size_t>(first / kTileRows)];
            for (int y = first; y < end; ++y) {
                const std::uint32_t* key = Keys(y);
                const std::uint32_t row =
                    static_cast<std::uint32_t>(y) * static_cast<std::uint32_t>(keys.cols);
                for (int x = 0; x < keys.cols; ++x)
                    if (key[x] != 0) m_places[next[key[x] >> 24]++] = row + static_cast<std::uint32_t>(x);
            }
        });
        ForEachPiece(kBuckets, PartOf(progress, 0.4, 1.0),
                     [&](int bucket) { Sort(static_cast<std::size_t>(bucket)); });
    }

    // Calls group(places, count) for each group of two or more alike windows of a bucket, in order.
    template <typename Group>
    void ForEachGroup(int bucket, const Group& group) const {
        const auto index = static_cast<std::size_t>(bucket);
        std::vector<std::uint32_t> places;
        std::uint32_t begin = m_begin[index];
        for (std::uint32_t i = begin; i < m_begin[index + 1]; ++i) {
            if ((m_places[i] & kLastOfGroup) == 0) continue;
            const std::uint32_t count = i + 1 - begin;
            if (count >= 2) group(m_places.data() + begin, count);
            begin = i + 1;
        }
    }

  private:
    const std::uint32_t* Keys(int y) const {
        return reinterpret_cast<const std::uint32_t*>(m_keys.ptr<std::int32_t>(y));
    }

    void Sort(std::size_t bucket) {
        const std::uint32_t begin = m_begin[bucket];
        const std::size_t count = m_begin[bucket + 1] - begin;
        std::vector<std::uint64_t> entries(count);
        std::vector<std::uint64_t> other(count);
        const auto columns = static_cast<std::uint32_t>(m_keys.cols);
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint32_t place = m_places[begin + i];
            const std::uint32_t y = place / columns;
            entries[i] = std::uint64_t{Keys(static_cast<int>(y))[place - y * columns]} << 32 | place;
        }
        // By the lower 24 bits of the key, twelve at a time; places stay in order.
        for (const int shift : {32, 44}) {
            std::array<std::uint32_t, 4097> starts{};
            for (const std::uint64_t entry : entries) ++starts[(entry >> shift & 0xFFF) + 1];
            for (std::size_t i = 1; i < starts.size(); ++i) starts[i] += starts[i - 1];
            for (const std::uint64_t entry : entries) other[starts[entry >> shift & 0xFFF]++] = entry;
            entries.swap(other);
        }
        for (std::size_t i = 0; i < count; ++i) {
            const bool isLast = i + 1 == count || entries[i + 1] >> 32 != entries[i] >> 32;
            m_places[begin + i] = static_cast<std::uint32_t>(entries[i]) | (isLast ? kLastOfGroup : 0U);
        }
    }

    const cv::Mat& m_keys;
    std::array<std::uint32_t, kBuckets + 1> m_begin{};
    std::vector<std::uint32_t> m_places;
};

// Votes for shifts in bins of 4 x 4 pixels.
class ShiftBins {
  public:
    explicit ShiftBins(const cv::Size& size)
        : m_middle(size.width / kBin + 1),
          m_across(2 * m_middle + 1),
          m_votes(static_cast<std::size_t>(m_across) * static_cast<std::size_t>(size.height / kBin + 1)) {}

    std::size_t Of(int dx, int dy) const {
        const int column = (dx + m_middle * kBin) / kBin;  // never negative
        return static_cast<std::size_t>(dy / kBin) * static_cast<std::size_t>(m_across) +
               static_cast<std::size_t>(column);
    }
    void Add(std::size_t bin) { m_votes[bin].fetch_add(1, std::memory_order_relaxed); }

    // The bins with the most votes, and the mark 1 for each; their sum stays within kMostPairs.
    std::vector<std::uint8_t> Best(std::uint32_t least, bool& isCut) const {
        std::vector<std::pair<std::uint32_t, std::size_t>> best;
        for (std::size_t i = 0; i < m_votes.size(); ++i)
            if (const std::uint32_t votes = m_votes[i].load(std::memory_order_relaxed); votes >= least)
                best.emplace_back(votes, i);
        std::sort(best.begin(), best.end(), [](const auto& a, const auto& b) {
            return a.first != b.first ? a.first > b.first : a.second < b.second;
        });
        std::vector<std::uint8_t> marks(m_votes.size(), 0);
        std::int64_t sum = 0;
        std::size_t kept = 0;
        for (const auto& [votes, bin] : best) {
            if (kept >= kMostBins) break;
            if (kept > 0 && sum + votes > kMostPairs) {
                isCut = true;
                break;
            }
            sum += votes;
            marks[bin] = 1;
            ++kept;
        }
        return marks;
    }

  private:
    int m_middle;
    int m_across;
    std::vector<std::atomic<std::uint32_t>> m_votes;
};

// The way from the first to the second place; the first comes first from above, or from the left in one row.
struct PlacePair {
    std::uint32_t first, second;
};

template <typename Use>
void ForEachPair(const std::uint32_t* places, std::uint32_t count, std::uint32_t columns, int leastDistance,
                 const Use& use) {
    std::array<std::uint32_t, kMostAlike> place{};
    std::array<cv::Point, kMostAlike> at{};
    for (std::uint32_t i = 0; i < count; ++i) {
        place[i] = places[i] & ~kLastOfGroup;
        at[i] = {static_cast<int>(place[i] % columns), static_cast<int>(place[i] / columns)};
    }
    const int least = leastDistance * leastDistance;
    for (std::uint32_t i = 0; i < count; ++i) {
        for (std::uint32_t j = i + 1; j < count; ++j) {
            // Places are sorted: the second is never above the first.
            const cv::Point way = at[j] - at[i];
            if (std::abs(way.x) < leastDistance && way.y < leastDistance && way.dot(way) < least) continue;
            use(PlacePair{place[i], place[j]}, way);
        }
    }
}

}  // namespace

WindowKeys DescribeWindows(const cv::Mat& luminance, const AnalysisProgress& progress) {
    CV_Assert(luminance.type() == CV_8UC1 && luminance.cols >= kSide && luminance.rows >= kSide);
    WindowKeys result;
    result.keys.create(luminance.rows - kSide + 1, luminance.cols - kSide + 1, CV_32S);
    const Basis basis;
    std::vector<KindCounts> counts(static_cast<std::size_t>((result.keys.rows + kTileRows - 1) / kTileRows));
    ForEachStrip(result.keys.rows, kTileRows, progress, [&](int first, int end) {
        const auto tile = std::make_unique<Tile>();
        KindCounts& count = counts[static_cast<std::size_t>(first / kTileRows)];
        for (int left = 0; left < result.keys.cols; left += kTileColumns) {
            const int columns = std::min(kTileColumns, result.keys.cols - left);
            for (int y = first; y < end + kSide - 1; ++y)
                TransformRow(luminance.ptr(y) + left, columns, basis, *tile, y - first);
            for (int y = first; y < end; ++y) {
                tile->key.fill(0);
                tile->energy.fill(0.0F);
                int index = 0;
                for (int u = 0; u < kOrder; ++u)
                    for (int v = 0; u + v < kOrder; ++v)
                        AddCoefficient(*tile, y - first, u, v, columns, basis, Multiplier(index++));
                StoreRow(*tile, columns, result.keys.ptr<std::int32_t>(y) + left, count);
            }
        }
    });
    for (const KindCounts& count : counts) {
        result.smooth += count.smooth;
        result.saturated += count.saturated;
    }
    return result;
}

std::vector<std::vector<cv::Point>> ClusterPlaces(const std::vector<cv::Point>& places, int leastCount) {
    constexpr int kClusterCell = 32;
    std::map<std::pair<int, int>, std::vector<cv::Point>> cells;
    for (const cv::Point& place : places)
        cells[{place.y / kClusterCell, place.x / kClusterCell}].push_back(place);
    std::vector<std::vector<cv::Point>> clusters;
    while (!cells.empty()) {
        std::vector<cv::Point> cluster;
        std::vector<std::pair<int, int>> open{cells.begin()->first};
        while (!open.empty()) {
            const auto [row, column] = open.back();
            open.pop_back();
            const auto found = cells.find({row, column});
            if (found == cells.end()) continue;
            cluster.insert(cluster.end(), found->second.begin(), found->second.end());
            cells.erase(found);
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) open.emplace_back(row + dy, column + dx);
        }
        if (cluster.size() >= static_cast<std::size_t>(std::max(leastCount, 1)))
            clusters.push_back(std::move(cluster));
    }
    std::stable_sort(clusters.begin(), clusters.end(),
                     [](const auto& a, const auto& b) { return a.size() > b.size(); });
    return clusters;
}

ShiftSearch FindShifts(const WindowKeys& windows, int leastDistance, int leastCount, int most,
                       const AnalysisProgress& progress) {
    const cv::Mat& keys = windows.keys;
    CV_Assert(keys.type() == CV_32S && keys.total() < kLastOfGroup);
    const auto columns = static_cast<std::uint32_t>(keys.cols);
    ShiftSearch result;
    const SortedWindows sorted(keys, PartOf(progress, 0.0, 0.5));

    result.cellsAcross = (keys.cols + kCell - 1) / kCell;
    std::vector<std::atomic<std::uint16_t>> common(static_cast<std::size_t>(result.cellsAcross) *
                                                   static_cast<std::size_t>((keys.rows + kCell - 1) / kCell));
    ShiftBins bins(keys.size());
    std::atomic<std::int64_t> pairs{0};
    std::atomic<std::int64_t> commonWindows{0};
    ForEachPiece(kBuckets, PartOf(progress, 0.5, 0.75), [&](int bucket) {
        std::int64_t voted = 0;
        std::int64_t left = 0;
        sorted.ForEachGroup(bucket, [&](const std::uint32_t* places, std::uint32_t count) {
            if (count > kMostAlike) {
                left += count;
                for (std::uint32_t i = 0; i < count; ++i) {
                    const std::uint32_t place = places[i] & ~kLastOfGroup;
                    const std::uint32_t cell =
                        place / columns / kCell * static_cast<std::uint32_t>(result.cellsAcross) +
                        place % columns / kCell;
                    common[cell].fetch_add(1, std::memory_order_relaxed);
                }
                return;
            }
            ForEachPair(places, count, columns, leastDistance, [&](const PlacePair&, const cv::Point& way) {
                bins.Add(bins.Of(way.x, way.y));
                ++voted;
            });
        });
        pairs += voted;
        commonWindows += left;
    });
    result.pairs = pairs;
    result.commonWindows = commonWindows;
    result.common.resize(common.size());
    for (std::size_t i = 0; i < common.size(); ++i)
        result.common[i] = static_cast<std::uint8_t>(std::min<int>(common[i], kCell * kCell - 1));

    // The pairs of the best bins, by their exact shift.
    const std::vector<std::uint8_t> marks =
        bins.Best(static_cast<std::uint32_t>(std::max(leastCount, 1)), result.isCut);
    std::array<std::vector<PlacePair>, kBuckets> kept;
    ForEachPiece(kBuckets, PartOf(progress, 0.75, 0.9), [&](int bucket) {
        sorted.ForEachGroup(bucket, [&](const std::uint32_t* places, std::uint32_t count) {
            if (count > kMostAlike) return;
            ForEachPair(places, count, columns, leastDistance,
                        [&](const PlacePair& pair, const cv::Point& way) {
                            if (marks[bins.Of(way.x, way.y)] != 0)
                                kept[static_cast<std::size_t>(bucket)].push_back(pair);
                        });
        });
    });
    struct Exact {
        std::int64_t shift;  // dy * 2^32 + dx
        std::uint32_t first;
    };
    std::vector<Exact> exact;
    for (const auto& bucket : kept) {
        for (const PlacePair& pair : bucket) {
            const std::int64_t dy = pair.second / columns - pair.first / columns;
            const std::int64_t dx = static_cast<std::int64_t>(pair.second % columns) -
                                    static_cast<std::int64_t>(pair.first % columns);
            exact.push_back({dy * (std::int64_t{1} << 32) + dx, pair.first});
        }
    }
    std::sort(exact.begin(), exact.end(), [](const Exact& a, const Exact& b) {
        return a.shift != b.shift ? a.shift < b.shift : a.first < b.first;
    });
    if (progress) progress(0.97);
    struct Run {
        std::size_t begin, count;
        cv::Point shift;
    };
    std::vector<Run> runs;
    for (std::size_t i = 0; i < exact.size();) {
        std::size_t end = i + 1;
        while (end < exact.size() && exact[end].shift == exact[i].shift) ++end;
        if (end - i >= static_cast<std::size_t>(std::max(leastCount, 1))) {
            // Rounded to the nearest multiple of 2^32, so that a negative dx does not borrow from dy.
            const std::int64_t dy = (exact[i].shift + (std::int64_t{1} << 31)) >> 32;
            const std::int64_t dx = exact[i].shift - dy * (std::int64_t{1} << 32);
            runs.push_back({i, end - i, cv::Point(static_cast<int>(dx), static_cast<int>(dy))});
        }
        i = end;
    }
    std::stable_sort(runs.begin(), runs.end(), [](const Run& a, const Run& b) { return a.count > b.count; });
    for (const Run& run : runs) {
        if (result.candidates.size() >= static_cast<std::size_t>(most)) break;
        const bool isTaken =
            std::any_of(result.candidates.begin(), result.candidates.end(), [&](const ShiftCandidate& c) {
                const cv::Point way = c.shift - run.shift;
                return std::abs(way.x) <= 2 && std::abs(way.y) <= 2;
            });
        if (isTaken) continue;
        ShiftCandidate candidate{run.shift, static_cast<int>(run.count), {}};
        for (std::size_t i = run.begin; i < run.begin + run.count; ++i)
            candidate.first.emplace_back(static_cast<int>(exact[i].first % columns),
                                         static_cast<int>(exact[i].first / columns));
        result.candidates.push_back(std::move(candidate));
    }
    if (progress) progress(1.0);
    return result;
}
