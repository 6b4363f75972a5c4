#include "orvcore/formats/pdfpages.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <memory>
#include <set>
#include <stdexcept>
#include <string_view>

namespace {

constexpr std::size_t kMaxNodes = 1000000;
constexpr std::size_t kDictionaryBytes = 4096;
constexpr std::size_t kFreeObjects = std::size_t{32} << 20;
constexpr std::size_t kObjectsPerByte = 16;
constexpr std::size_t kPiece = std::size_t{1} << 20;

struct Node {
    QPDFObjectHandle object;
    QPDFObjectHandle resources;  // inherited
};

std::size_t Find(ByteSpan bytes, std::string_view text, std::size_t from) {
    if (from >= bytes.size()) return bytes.size();
    const void* hit = memmem(bytes.data() + from, bytes.size() - from, text.data(), text.size());
    if (hit == nullptr) return bytes.size();
    return static_cast<std::size_t>(static_cast<const std::uint8_t*>(hit) - bytes.data());
}

int Count(ByteSpan bytes, std::string_view text) {
    int count = 0;
    for (std::size_t at = Find(bytes, text, 0); at < bytes.size(); at = Find(bytes, text, at + 1)) ++count;
    return count;
}

// What deflated data unpack to, counted up to the limit.
std::size_t CountInflated(ByteSpan data, std::size_t limit) {
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK) return 0;
    const std::unique_ptr<z_stream, int (*)(z_stream*)> closer(&stream, inflateEnd);
    std::array<std::uint8_t, 65536> out{};
    std::size_t count = 0;
    std::size_t used = 0;
    int state = Z_OK;
    while (state == Z_OK && count <= limit) {
        if (stream.avail_in == 0) {
            const std::size_t piece = std::min(data.size() - used, kPiece);
            if (piece == 0) break;
            stream.next_in = const_cast<Bytef*>(data.data() + used);
            stream.avail_in = static_cast<uInt>(piece);
            used += piece;
        }
        stream.next_out = out.data();
        stream.avail_out = static_cast<uInt>(out.size());
        state = inflate(&stream, Z_NO_FLUSH);
        count += out.size() - stream.avail_out;
    }
    return count;
}

// Counts what passes and throws when it is too much.
class Counter : public Pipeline {
  public:
    Counter(std::size_t limit, const std::function<void()>& alive)
        : Pipeline("counter", nullptr), m_limit(limit), m_alive(alive) {}

    void write(const unsigned char*, std::size_t size) override {
        if (m_stopped) return;
        m_count += size;
        m_sinceAlive += size;
        // The library takes some exceptions for damaged data: both are kept until its code has returned.
        if (m_count > m_limit) throw std::runtime_error("too much");
        if (m_sinceAlive < kPiece) return;
        m_sinceAlive = 0;
        try {
            m_alive();
        } catch (...) {
            m_stopped = std::current_exception();
            throw;
        }
    }
    void finish() override {}

    std::size_t Get() const { return std::min(m_count, m_limit + 1); }
    void RethrowStop() const {
        if (m_stopped) std::rethrow_exception(m_stopped);
    }

  private:
    std::size_t m_limit;
    const std::function<void()>& m_alive;
    std::size_t m_count = 0;
    std::size_t m_sinceAlive = 0;
    std::exception_ptr m_stopped;
};

}  // namespace

PdfPages ListPdfPages(QPDF& pdf) {
    PdfPages result;
    std::set<QPDFObjGen> seen;
    std::vector<Node> waiting = {{pdf.getRoot().getKey("/Pages"), QPDFObjectHandle::newNull()}};
    std::size_t nodes = 0;
    while (!waiting.empty()) {
        Node node = waiting.back();
        waiting.pop_back();
        if (!node.object.isDictionary()) continue;
        if (++nodes > kMaxNodes) {
            result.warnings.emplace_back("The document has more than " + std::to_string(kMaxNodes) +
                                         " pages; the others were left out.");
            break;
        }
        if (QPDFObjectHandle own = node.object.getKey("/Resources"); own.isDictionary()) node.resources = own;
        QPDFObjectHandle kids = node.object.getKey("/Kids");
        if (!kids.isArray()) {
            if (!node.object.getKey("/Resources").isDictionary())
                node.object.replaceKey("/Resources", node.resources.isDictionary()
                                                         ? node.resources
                                                         : QPDFObjectHandle::newDictionary());
            result.pages.push_back(node.object);
            continue;
        }
        if (node.object.isIndirect() && !seen.insert(node.object.getObjGen()).second) {
            result.warnings.emplace_back("The page tree leads back to itself; it was followed once.");
            continue;
        }
        for (int i = kids.getArrayNItems(); i-- > 0;)
            waiting.push_back({kids.getArrayItem(i), node.resources});
    }
    return result;
}

std::string PdfStructureProblem(ByteSpan bytes) {
    const std::size_t limit = kFreeObjects + kObjectsPerByte * bytes.size();
    std::size_t unpacked = 0;
    for (const std::string_view kind : {"/ObjStm", "/XRef"}) {
        for (std::size_t at = Find(bytes, kind, 0); at < bytes.size(); at = Find(bytes, kind, at + 1)) {
            const std::size_t start = Find(Slice(bytes, 0, at + kDictionaryBytes), "stream", at);
            if (start >= at + kDictionaryBytes || start >= bytes.size()) continue;
            // The dictionary goes on before the kind, from the object's beginning.
            std::size_t head = at;
            while (head > 0 && at - head < kDictionaryBytes && !StartsWith(bytes, head, "obj", 3)) --head;
            const ByteSpan dictionary = bytes.subspan(head, start - head);
            if (Count(dictionary, "/FlateDecode") + Count(dictionary, "/Fl ") +
                    Count(dictionary, "/LZWDecode") >
                1)
                return "Its lists of objects are packed twice over; no program writes this, and it was not read.";
            std::size_t data = start + 6;
            if (ByteAt(bytes, data) == '\r') ++data;
            if (ByteAt(bytes, data) == '\n') ++data;
            unpacked += CountInflated(Slice(bytes, data, bytes.size()), limit);
            if (unpacked > limit)
                return "Its lists of objects unpack to more than " + std::to_string(limit >> 20) +
                       " MB, which its " + std::to_string(bytes.size()) + " bytes cannot justify.";
        }
    }
    return {};
}

std::size_t CountPdfContent(QPDFObjectHandle owner, std::size_t limit, const std::function<void()>& alive) {
    std::vector<QPDFObjectHandle> streams;
    if (owner.isStream()) {
        streams.push_back(owner);
    } else if (QPDFObjectHandle contents = owner.getKey("/Contents"); contents.isArray()) {
        for (int i = 0; i < contents.getArrayNItems(); ++i) streams.push_back(contents.getArrayItem(i));
    } else {
        streams.push_back(contents);
    }
    Counter counter(limit, alive);
    for (QPDFObjectHandle& stream : streams) {
        if (!stream.isStream()) continue;
        try {
            stream.pipeStreamData(&counter, 0, qpdf_dl_specialized, true);
        } catch (const std::exception&) {
            // Damaged, or too much, or stopped.
        }
        counter.RethrowStop();
        if (counter.Get() > limit) break;
    }
    return counter.Get();
}
