#include "orvcore/formats/jpegcarver.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "orvcore/formats/jpegwalk.h"

namespace {

constexpr std::size_t kMaxPieces = 1000000;  // of one JPEG
constexpr std::size_t kProgressBytes = std::size_t{4} << 20;
constexpr std::size_t kProgressPieces = 50000;

class Carver {
  public:
    Carver(ByteSpan bytes, const std::function<void(const CarvedJpeg&)>& found,
           const std::function<void(double)>& progress)
        : m_bytes(bytes), m_found(found), m_progress(progress) {}

    void Run() {
        std::size_t told = 0;
        for (std::size_t at = NextStart(0); at < m_bytes.size(); at = NextStart(at + 2)) {
            if (at - told >= kProgressBytes) {
                told = at;
                Tell(at);
            }
            std::erase_if(m_enclosingEnds, [at](std::size_t end) { return end <= at; });
            if (m_enclosingEnds.size() >= kMaxCarveDepth) continue;
            CarvedJpeg jpeg;
            jpeg.offset = at;
            if (!Follow(jpeg)) continue;
            m_enclosingEnds.push_back(jpeg.offset + jpeg.size);
            m_found(jpeg);
        }
    }

  private:
    // What a chain has had so far. Together with the position it decides whether the rest can be sound.
    enum State { Start = 0, Framed = 1, Scanned = 2, Hierarchical = 3 };

    void Tell(std::size_t at) const {
        if (m_progress) m_progress(static_cast<double>(at) / static_cast<double>(m_bytes.size()));
    }

    // Position of the next SOI that a marker follows, or the number of bytes.
    std::size_t NextStart(std::size_t from) {
        static constexpr std::uint8_t kPattern[] = {0xFF, 0xD8, 0xFF};
        while (from + 3 < m_bytes.size()) {
            // In steps, so that a long stretch without any start is still interruptible.
            const std::size_t step = std::min(m_bytes.size() - from, 4 * kProgressBytes);
            const void* hit = memmem(m_bytes.data() + from, step, kPattern, sizeof kPattern);
            if (hit != nullptr)
                return static_cast<std::size_t>(static_cast<const std::uint8_t*>(hit) - m_bytes.data());
            from += step - 2;
            Tell(from);
        }
        return m_bytes.size();
    }

    bool Follow(CarvedJpeg& jpeg) {
        JpegWalk walk(m_bytes, jpeg.offset);
        int state = Start;
        m_visited.clear();
        for (std::size_t pieces = 0; pieces < kMaxPieces; ++pieces) {
            if (pieces % kProgressPieces == kProgressPieces - 1) Tell(jpeg.offset);
            if (pieces > 0 && IsKnownBroken(walk.Position(), state)) break;
            const std::size_t position = walk.Position();
            const int stateBefore = state;
            const JpegPiece piece = walk.Next();
            const Step step = Take(piece, jpeg, state);
            if (step == Step::Complete) {
                jpeg.size = walk.Position() - jpeg.offset;
                return true;
            }
            // Short chains that break at once are the usual case and not worth remembering.
            if (pieces >= 16 || piece.marker == jpegmarker::kSos)
                m_visited.push_back({position, stateBefore});
            if (step == Step::Broken) break;
        }
        for (const Visit& visit : m_visited) Remember(visit.position, visit.state);
        return false;
    }

    enum class Step { Sound, Broken, Complete };

    Step Take(const JpegPiece& piece, CarvedJpeg& jpeg, int& state) const {
        using namespace jpegmarker;
        if (piece.kind == JpegPiece::Kind::Entropy) return piece.size > 0 ? Step::Sound : Step::Broken;
        if (piece.kind != JpegPiece::Kind::Segment || piece.cut || piece.lengthTooShort) return Step::Broken;
        const std::uint8_t marker = piece.marker;
        const ByteSpan payload = Slice(m_bytes, piece.PayloadOffset(), piece.PayloadSize());
        const int stage = state % Hierarchical;
        if (marker == kSoi) return piece.offset == jpeg.offset ? Step::Sound : Step::Broken;
        if (marker == kEoi) return stage == Scanned ? Step::Complete : Step::Broken;
        if (marker == kTem || IsRestart(marker) || IsReserved(marker)) return Step::Broken;
        if (IsFrame(marker)) {
            if (!FrameHeaderFits(payload)) return Step::Broken;
            if (stage != Start) return state >= Hierarchical ? Step::Sound : Step::Broken;
            jpeg.height = static_cast<int>(Big16(payload, 1));
            jpeg.width = static_cast<int>(Big16(payload, 3));
            state += Framed;
        } else if (marker == kSos) {
            if (stage == Start || !ScanHeaderFits(payload)) return Step::Broken;
            state += Scanned - stage;
        } else if (marker == kDhp && state < Hierarchical) {
            state += Hierarchical;
        } else if (marker == kDnl && jpeg.height == 0) {
            jpeg.height = static_cast<int>(Big16(payload, 0));
        }
        return Step::Sound;
    }

    bool IsKnownBroken(std::size_t position, int state) const {
        const std::vector<bool>& plane = m_broken[static_cast<std::size_t>(state)];
        return position < plane.size() && plane[position];
    }

    void Remember(std::size_t position, int state) {
        std::vector<bool>& plane = m_broken[static_cast<std::size_t>(state)];
        if (plane.empty()) plane.resize(m_bytes.size());
        if (position < plane.size()) plane[position] = true;
    }

    struct Visit {
        std::size_t position;
        int state;
    };

    ByteSpan m_bytes;
    const std::function<void(const CarvedJpeg&)>& m_found;
    const std::function<void(double)>& m_progress;
    std::vector<std::size_t> m_enclosingEnds;
    std::vector<Visit> m_visited;
    std::array<std::vector<bool>, 6> m_broken;  // one bit per position and state
};

}  // namespace

void CarveJpegs(ByteSpan bytes, const std::function<void(const CarvedJpeg&)>& found,
                const std::function<void(double)>& progress) {
    Carver(bytes, found, progress).Run();
}
