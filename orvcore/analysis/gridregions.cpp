#include "orvcore/analysis/gridregions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace {

constexpr int kCell = 10;       // pixels in it lie within 9 of each other
constexpr int kLeastVotes = 4;  // in a cell
constexpr int kReach = 9;

// The votes of one cell for one grid, and by way of `parent` the area that they belong to.
struct Node {
    std::int32_t parent = 0;
    std::int32_t votes = 0;
    std::int32_t left = 0;  // of the outermost votes, inclusive
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
    std::uint8_t grid = 0;
};

class Areas {
  public:
    explicit Areas(const cv::Mat& votes) : m_votes(votes), m_across((votes.cols + kCell - 1) / kCell) {
        m_before.assign(static_cast<std::size_t>(m_across) * 64, -1);
        m_here = m_before;
    }

    void AddRow(int cellRow, int excluded, int only) {
        std::swap(m_before, m_here);
        std::fill(m_here.begin(), m_here.end(), -1);
        for (int column = 0; column < m_across; ++column) AddCell(cellRow, column, excluded, only);
    }

    std::vector<GridRegion> Significant() {
        const double pixels = static_cast<double>(m_votes.total());
        const double tests = 64.0 * pixels;
        const auto least = static_cast<std::int32_t>(std::ceil(64.0 * std::log(tests) / std::log(64.0)));
        Gather();
        std::vector<GridRegion> regions;
        for (std::size_t i = 0; i < m_nodes.size(); ++i) {
            const Node& node = m_nodes[i];
            if (node.parent != static_cast<std::int32_t>(i) || node.votes < least) continue;
            const cv::Rect box(node.left, node.top, node.right - node.left + 1, node.bottom - node.top + 1);
            const auto trials = static_cast<std::int64_t>(box.width) * box.height / 64;
            const double logNfa =
                2.0 * std::log10(tests) + LogBinomialTail(trials, node.votes / 64, 1.0 / 64.0);
            if (logNfa < 0.0) regions.push_back({node.grid, box, node.votes, logNfa});
        }
        std::stable_sort(regions.begin(), regions.end(),
                         [](const GridRegion& a, const GridRegion& b) { return a.logNfa < b.logNfa; });
        return regions;
    }

  private:
    void AddCell(int cellRow, int column, int excluded, int only) {
        const int left = column * kCell;
        const int top = cellRow * kCell;
        const int right = std::min(left + kCell, m_votes.cols);
        const int bottom = std::min(top + kCell, m_votes.rows);
        std::array<std::uint8_t, 256> counts{};
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x) ++counts[m_votes.ptr(y)[x]];
        for (int grid = 0; grid < 64; ++grid) {
            if (counts[static_cast<std::size_t>(grid)] < kLeastVotes || grid == excluded ||
                (only >= 0 && grid != only))
                continue;
            AddNode(cv::Rect(left, top, right - left, bottom - top), column, grid);
        }
    }

    void AddNode(const cv::Rect& cell, int column, int grid) {
        const auto index = static_cast<std::int32_t>(m_nodes.size());
        Node node{
            index, 0, cell.x + cell.width, cell.y + cell.height, -1, -1, static_cast<std::uint8_t>(grid)};
        for (int y = cell.y; y < cell.y + cell.height; ++y) {
            const std::uint8_t* row = m_votes.ptr(y);
            for (int x = cell.x; x < cell.x + cell.width; ++x) {
                if (row[x] != grid) continue;
                ++node.votes;
                node.left = std::min(node.left, x);
                node.right = std::max(node.right, x);
                node.top = std::min(node.top, y);
                node.bottom = y;
            }
        }
        m_nodes.push_back(node);
        At(m_here, column, grid) = index;
        // Straight neighbours: the extents decide. Across a corner the votes themselves do.
        if (column > 0) {
            const std::int32_t other = At(m_here, column - 1, grid);
            if (other >= 0 && node.left - Extent(other).right <= kReach) Join(index, other);
        }
        for (int step = -1; step <= 1; ++step) {
            if (column + step < 0 || column + step >= m_across) continue;
            const std::int32_t other = At(m_before, column + step, grid);
            if (other < 0 || Root(other) == Root(index)) continue;
            if (step == 0 ? node.top - Extent(other).bottom <= kReach
                          : MeetAcrossCorner(node, Extent(other), step))
                Join(index, other);
        }
    }

    bool MeetAcrossCorner(const Node& node, const Node& other, int step) const {
        for (int y = std::max(other.top, node.top - kReach); y <= other.bottom; ++y) {
            const std::uint8_t* above = m_votes.ptr(y);
            for (int x = other.left; x <= other.right; ++x) {
                if (above[x] != node.grid) continue;
                const int from = step < 0 ? node.left : std::max(node.left, x - kReach);
                const int to = step < 0 ? std::min(node.right, x + kReach) : node.right;
                for (int row = node.top; row <= std::min(node.bottom, y + kReach); ++row)
                    for (int k = from; k <= to; ++k)
                        if (m_votes.ptr(row)[k] == node.grid) return true;
            }
        }
        return false;
    }

    std::int32_t& At(std::vector<std::int32_t>& cells, int column, int grid) {
        return cells[static_cast<std::size_t>(column) * 64 + static_cast<std::size_t>(grid)];
    }
    const Node& Extent(std::int32_t index) const { return m_nodes[static_cast<std::size_t>(index)]; }

    std::int32_t Root(std::int32_t index) {
        while (m_nodes[static_cast<std::size_t>(index)].parent != index) {
            std::int32_t& parent = m_nodes[static_cast<std::size_t>(index)].parent;
            parent = m_nodes[static_cast<std::size_t>(parent)].parent;
            index = parent;
        }
        return index;
    }
    void Join(std::int32_t a, std::int32_t b) {
        a = Root(a);
        b = Root(b);
        if (a != b) m_nodes[static_cast<std::size_t>(std::max(a, b))].parent = std::min(a, b);
    }

    // Every node's votes and extent to its root. The extents of the cells are not needed any more.
    void Gather() {
        for (std::size_t i = 0; i < m_nodes.size(); ++i) {
            const Node node = m_nodes[i];
            const std::int32_t root = Root(static_cast<std::int32_t>(i));
            if (root == static_cast<std::int32_t>(i)) continue;
            Node& area = m_nodes[static_cast<std::size_t>(root)];
            area.votes += node.votes;
            area.left = std::min(area.left, node.left);
            area.top = std::min(area.top, node.top);
            area.right = std::max(area.right, node.right);
            area.bottom = std::max(area.bottom, node.bottom);
        }
    }

    const cv::Mat& m_votes;
    const int m_across;
    std::vector<Node> m_nodes;
    std::vector<std::int32_t> m_before;  // of the row of cells above, per column and grid; -1 none
    std::vector<std::int32_t> m_here;
};

}  // namespace

std::vector<GridRegion> FindGridRegions(const cv::Mat& votes, int excluded, int only,
                                        const AnalysisProgress& progress) {
    Areas areas(votes);
    const int rows = (votes.rows + kCell - 1) / kCell;
    for (int row = 0; row < rows; ++row) {
        if (progress) progress(static_cast<double>(row) / rows);
        areas.AddRow(row, excluded, only);
    }
    return areas.Significant();
}
