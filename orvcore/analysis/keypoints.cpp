#include "orvcore/analysis/keypoints.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <opencv2/features2d.hpp>

namespace {

constexpr int kCore = 768;
constexpr int kMargin = 64;
constexpr int kLeastSide = 16;
constexpr int kRowsAtOnce = 64;
constexpr std::size_t kNeighbours = 8;

// What each tile is responsible for.
std::vector<cv::Rect> Cores(const cv::Size& size) {
    const int across = (size.width + kCore - 1) / kCore;
    const int down = (size.height + kCore - 1) / kCore;
    std::vector<cv::Rect> cores;
    for (int row = 0; row < down; ++row) {
        for (int column = 0; column < across; ++column) {
            // Evenly, so that no tile is a sliver.
            const cv::Point first(static_cast<int>(static_cast<std::int64_t>(size.width) * column / across),
                                  static_cast<int>(static_cast<std::int64_t>(size.height) * row / down));
            const cv::Point end(
                static_cast<int>(static_cast<std::int64_t>(size.width) * (column + 1) / across),
                static_cast<int>(static_cast<std::int64_t>(size.height) * (row + 1) / down));
            cores.emplace_back(first, end);
        }
    }
    return cores;
}

cv::Rect WithMargin(const cv::Rect& core, const cv::Size& size) {
    return cv::Rect(core.x - kMargin, core.y - kMargin, core.width + 2 * kMargin, core.height + 2 * kMargin) &
           cv::Rect(cv::Point(), size);
}

void StoreDescriptor(const float* values, std::uint8_t* target) {
    float sum = 0;
    for (int i = 0; i < kDescriptorLength; ++i) sum += values[i];
    const float scale = sum > 0 ? 1.0F / sum : 0.0F;
    // Roots are at most 1; hardly any is above one half, so twice the range is used.
    for (int i = 0; i < kDescriptorLength; ++i)
        target[i] = cv::saturate_cast<std::uint8_t>(510.0F * std::sqrt(values[i] * scale));
}

struct TilePoints {
    std::vector<Keypoint> points;
    cv::Mat descriptors;
    bool isCut = false;
};

TilePoints FindInTile(const cv::Mat& luminance, const cv::Rect& core, int most,
                      const KeypointSettings& settings) {
    const cv::Rect part = WithMargin(core, luminance.size());
    const cv::Ptr<cv::SIFT> sift = cv::SIFT::create(0, 3, settings.contrast);
    std::vector<cv::KeyPoint> found;
    const cv::Mat tile = luminance(part);
    sift->detect(tile, found);
    std::vector<cv::KeyPoint> mine;
    for (const cv::KeyPoint& point : found) {
        const cv::Point2f at = point.pt + cv::Point2f(part.tl());
        const bool isInside =
            at.x >= core.x && at.x < core.x + core.width && at.y >= core.y && at.y < core.y + core.height;
        if (isInside && point.size <= settings.largest) mine.push_back(point);
    }
    TilePoints result;
    if (mine.size() > static_cast<std::size_t>(most)) {
        result.isCut = true;
        // The strongest; equal ones in the order of their places.
        std::stable_sort(mine.begin(), mine.end(), [](const cv::KeyPoint& a, const cv::KeyPoint& b) {
            return a.response > b.response;
        });
        mine.resize(static_cast<std::size_t>(most));
    }
    if (mine.empty()) return result;
    cv::Mat descriptors;
    sift->compute(tile, mine, descriptors);
    result.descriptors.create(descriptors.rows, kDescriptorLength, CV_8U);
    for (int i = 0; i < descriptors.rows; ++i) {
        const cv::KeyPoint& point = mine[static_cast<std::size_t>(i)];
        result.points.push_back({point.pt + cv::Point2f(part.tl()), point.size, point.angle, point.response});
        StoreDescriptor(descriptors.ptr<float>(i), result.descriptors.ptr(i));
    }
    return result;
}

double SquaredDistance(const cv::Point2f& a, const cv::Point2f& b) {
    const cv::Point2f way = b - a;
    return static_cast<double>(way.x) * way.x + static_cast<double>(way.y) * way.y;
}

bool IsSensible(const cv::Matx23d& m) {
    const double determinant = m(0, 0) * m(1, 1) - m(0, 1) * m(1, 0);
    if (!(determinant > 0.04 && determinant < 25.0)) return false;
    // Neither stretched nor sheared by more than half as much again.
    const double sum = m(0, 0) * m(0, 0) + m(0, 1) * m(0, 1) + m(1, 0) * m(1, 0) + m(1, 1) * m(1, 1);
    return sum <= 2.0 * determinant * 1.1;
}

cv::Point2d Map(const cv::Matx23d& m, const cv::Point2d& p) {
    return {m(0, 0) * p.x + m(0, 1) * p.y + m(0, 2), m(1, 0) * p.x + m(1, 1) * p.y + m(1, 2)};
}

// The affine map with the least squared error; false when the points lie on a line.
bool LeastSquares(const std::vector<cv::Point2d>& from, const std::vector<cv::Point2d>& to,
                  const std::vector<int>& which, cv::Matx23d& model) {
    cv::Point2d middle(0, 0);
    for (const int i : which) middle += from[static_cast<std::size_t>(i)];
    middle *= 1.0 / static_cast<double>(which.size());
    cv::Matx33d normal = cv::Matx33d::zeros();
    cv::Matx<double, 3, 2> right = cv::Matx<double, 3, 2>::zeros();
    for (const int i : which) {
        const cv::Point2d p = from[static_cast<std::size_t>(i)] - middle;
        const cv::Point2d q = to[static_cast<std::size_t>(i)];
        const cv::Vec3d row(p.x, p.y, 1.0);
        normal += row * row.t();
        for (int r = 0; r < 3; ++r) {
            right(r, 0) += row[r] * q.x;
            right(r, 1) += row[r] * q.y;
        }
    }
    cv::Matx<double, 3, 2> solution;
    if (!cv::solve(normal, right, solution, cv::DECOMP_CHOLESKY)) return false;
    model = {solution(0, 0),
             solution(1, 0),
             solution(2, 0) - solution(0, 0) * middle.x - solution(1, 0) * middle.y,
             solution(0, 1),
             solution(1, 1),
             solution(2, 1) - solution(0, 1) * middle.x - solution(1, 1) * middle.y};
    return true;
}

}  // namespace

std::vector<cv::Rect> KeypointTiles(const cv::Size& size) {
    std::vector<cv::Rect> tiles;
    for (const cv::Rect& core : Cores(size)) tiles.push_back(WithMargin(core, size));
    return tiles;
}

Keypoints FindKeypoints(const cv::Mat& luminance, const KeypointSettings& settings,
                        const AnalysisProgress& progress) {
    CV_Assert(luminance.type() == CV_8UC1);
    Keypoints result;
    result.descriptors.create(0, kDescriptorLength, CV_8U);
    if (luminance.cols < kLeastSide || luminance.rows < kLeastSide) return result;
    const std::vector<cv::Rect> cores = Cores(luminance.size());
    const int count = static_cast<int>(cores.size());
    const int most = std::max(settings.most / count, 200);
    std::vector<TilePoints> tiles(cores.size());
    ForEachPiece(count, progress, [&](int i) {
        const auto index = static_cast<std::size_t>(i);
        tiles[index] = FindInTile(luminance, cores[index], most, settings);
    });
    result.tiles = count;
    for (const TilePoints& tile : tiles) {
        result.points.insert(result.points.end(), tile.points.begin(), tile.points.end());
        if (!tile.descriptors.empty()) result.descriptors.push_back(tile.descriptors);
        result.isCut = result.isCut || tile.isCut;
    }
    return result;
}

int DescriptorDistance(const std::uint8_t* a, const std::uint8_t* b) {
    // The compiler makes this loop one instruction for sixteen bytes.
    int sum = 0;
    for (int i = 0; i < kDescriptorLength; ++i)
        sum += std::abs(static_cast<int>(a[i]) - static_cast<int>(b[i]));
    return sum;
}

std::vector<KeypointMatch> MatchKeypoints(const Keypoints& from, const Keypoints& to, double ratio,
                                          const AnalysisProgress& progress) {
    const int count = static_cast<int>(from.points.size());
    const int others = static_cast<int>(to.points.size());
    std::vector<std::vector<KeypointMatch>> found(
        static_cast<std::size_t>((count + kRowsAtOnce - 1) / kRowsAtOnce));
    constexpr double kElsewhere = 4.0 * 4.0;
    ForEachStrip(count, kRowsAtOnce, progress, [&](int first, int end) {
        auto& matches = found[static_cast<std::size_t>(first / kRowsAtOnce)];
        for (int i = first; i < end; ++i) {
            const std::uint8_t* descriptor = from.descriptors.ptr(i);
            std::array<KeypointMatch, 2> best{KeypointMatch{i, -1, 1 << 30}, KeypointMatch{i, -1, 1 << 30}};
            for (int j = 0; j < others; ++j) {
                const int distance = DescriptorDistance(descriptor, to.descriptors.ptr(j));
                if (distance >= best[1].distance) continue;
                const cv::Point2f at = to.points[static_cast<std::size_t>(j)].at;
                // The same place described twice is one neighbour.
                const bool isNearBest =
                    best[0].second >= 0 &&
                    SquaredDistance(at, to.points[static_cast<std::size_t>(best[0].second)].at) <= kElsewhere;
                if (distance < best[0].distance) {
                    if (!isNearBest) best[1] = best[0];
                    best[0] = {i, j, distance};
                } else if (!isNearBest) {
                    best[1] = {i, j, distance};
                }
            }
            if (best[0].second >= 0 && best[0].distance < ratio * best[1].distance)
                matches.push_back(best[0]);
        }
    });
    std::vector<KeypointMatch> all;
    for (const auto& matches : found) all.insert(all.end(), matches.begin(), matches.end());
    return all;
}

std::vector<KeypointMatch> MatchWithin(const Keypoints& points, double leastDistance, double ratio,
                                       const AnalysisProgress& progress) {
    const int count = static_cast<int>(points.points.size());
    std::vector<std::vector<KeypointMatch>> found(
        static_cast<std::size_t>((count + kRowsAtOnce - 1) / kRowsAtOnce));
    const double least = leastDistance * leastDistance;
    ForEachStrip(count, kRowsAtOnce, progress, [&](int first, int end) {
        auto& matches = found[static_cast<std::size_t>(first / kRowsAtOnce)];
        std::array<KeypointMatch, kNeighbours + 1> near;
        for (int i = first; i < end; ++i) {
            const std::uint8_t* descriptor = points.descriptors.ptr(i);
            const cv::Point2f at = points.points[static_cast<std::size_t>(i)].at;
            near.fill({i, -1, 1 << 30});
            for (int j = 0; j < count; ++j) {
                const int distance = DescriptorDistance(descriptor, points.descriptors.ptr(j));
                if (distance >= near.back().distance) continue;
                if (SquaredDistance(at, points.points[static_cast<std::size_t>(j)].at) < least) continue;
                auto place = near.end() - 1;
                for (; place != near.begin() && (place - 1)->distance > distance; --place)
                    *place = *(place - 1);
                *place = {i, j, distance};
            }
            for (std::size_t k = 0; k < kNeighbours && near[k].second >= 0; ++k) {
                if (near[k].distance >= ratio * near[k + 1].distance) continue;
                for (std::size_t m = 0; m <= k; ++m)
                    matches.push_back(
                        {std::min(i, near[m].second), std::max(i, near[m].second), near[m].distance});
                break;
            }
        }
    });
    std::vector<KeypointMatch> all;
    for (const auto& matches : found) all.insert(all.end(), matches.begin(), matches.end());
    const auto order = [](const KeypointMatch& a, const KeypointMatch& b) {
        return a.first != b.first ? a.first < b.first : a.second < b.second;
    };
    std::sort(all.begin(), all.end(), order);
    all.erase(std::unique(all.begin(), all.end(),
                          [](const KeypointMatch& a, const KeypointMatch& b) {
                              return a.first == b.first && a.second == b.second;
                          }),
              all.end());
    return all;
}

cv::Matx23d SimilarityOf(const Keypoint& from, const Keypoint& to) {
    const double scale = from.size > 0 ? to.size / from.size : 1.0;
    const double angle = (to.angle - from.angle) * std::numbers::pi / 180.0;
    const double c = scale * std::cos(angle);
    const double s = scale * std::sin(angle);
    return {c, -s, to.at.x - c * from.at.x + s * from.at.y, s, c, to.at.y - s * from.at.x - c * from.at.y};
}

AffineFit FitAffine(const std::vector<cv::Point2d>& from, const std::vector<cv::Point2d>& to,
                    const std::vector<cv::Matx23d>& guesses, const std::vector<std::uint8_t>& used,
                    double tolerance, double reach) {
    const std::size_t count = from.size();
    const auto supporters = [&](const cv::Matx23d& model, const cv::Point2d* about, double base,
                                double slope) {
        std::vector<int> inliers;
        for (std::size_t i = 0; i < count; ++i) {
            if (used[i] != 0) continue;
            double allowed = base;
            if (about != nullptr) {
                const cv::Point2d way = from[i] - *about;
                const double far = std::sqrt(way.dot(way));
                if (reach > 0 && far > reach) continue;
                // A single match knows its size and angle only so well: the error grows with the distance.
                allowed += slope * far;
            }
            const cv::Point2d miss = Map(model, from[i]) - to[i];
            if (miss.dot(miss) <= allowed * allowed) inliers.push_back(static_cast<int>(i));
        }
        return inliers;
    };
    // At most so many guesses, evenly taken: each costs a look at every match.
    constexpr std::size_t kMostGuesses = 4000;
    const std::size_t step = count / kMostGuesses + 1;
    AffineFit best;
    std::size_t most = 3;
    cv::Matx23d model;
    for (std::size_t i = 0; i < count; i += step) {
        if (used[i] != 0 || !IsSensible(guesses[i])) continue;
        const std::vector<int> inliers = supporters(guesses[i], &from[i], tolerance, 0.1);
        if (inliers.size() <= most) continue;
        most = inliers.size();
        best.inliers = inliers;
        best.model = guesses[i];
    }
    if (best.inliers.empty()) return {};
    for (int round = 0; round < 10; ++round) {
        if (!LeastSquares(from, to, best.inliers, model) || !IsSensible(model)) return {};
        // Wide at first, then as narrow as asked for.
        const double width = round < 3 ? tolerance * (4 - round) : tolerance;
        const std::vector<int> inliers = supporters(model, nullptr, width, 0.0);
        if (inliers.size() < 4) return {};
        const bool isSame = inliers == best.inliers && round >= 3;
        best.inliers = inliers;
        best.model = model;
        if (isSame) break;
    }
    return best;
}
