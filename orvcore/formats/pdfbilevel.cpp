#include "orvcore/formats/pdfbilevel.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

// Last: this header redefines a keyword.
#include <jbig2.h>
#undef inline

namespace {

// --- CCITT: the data become the only strip of a TIFF in memory, which the TIFF library reads ------------------------------------------

struct MemoryFile {
    Bytes bytes;
    std::size_t position = 0;
};

tmsize_t ReadMemory(thandle_t handle, void* out, tmsize_t count) {
    auto& file = *static_cast<MemoryFile*>(handle);
    const std::size_t left = file.bytes.size() - std::min(file.position, file.bytes.size());
    const std::size_t size = std::min(left, static_cast<std::size_t>(std::max<tmsize_t>(count, 0)));
    if (size > 0) std::memcpy(out, file.bytes.data() + file.position, size);
    file.position += size;
    return static_cast<tmsize_t>(size);
}
tmsize_t WriteMemory(thandle_t, void*, tmsize_t) {
    return 0;
}
toff_t SeekMemory(thandle_t handle, toff_t offset, int whence) {
    auto& file = *static_cast<MemoryFile*>(handle);
    if (whence == SEEK_SET) file.position = static_cast<std::size_t>(offset);
    if (whence == SEEK_CUR) file.position += static_cast<std::size_t>(offset);
    if (whence == SEEK_END) file.position = file.bytes.size() + static_cast<std::size_t>(offset);
    return static_cast<toff_t>(file.position);
}
int CloseMemory(thandle_t) {
    return 0;
}
toff_t SizeMemory(thandle_t handle) {
    return static_cast<MemoryFile*>(handle)->bytes.size();
}
int Silent(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

void Append(Bytes& bytes, std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

bool StartsWithEol(ByteSpan data) {
    // Eleven zero bits or more, then a one, within the first bytes.
    return data.size() >= 2 && data[0] == 0 && (data[1] & 0xE0) == 0;
}

Bytes WrapInTiff(ByteSpan data, const CcittParameters& p, int compression) {
    struct Entry {
        std::uint32_t tag, type, value;
    };
    const Entry entries[] = {{256, 4, static_cast<std::uint32_t>(p.columns)},
                             {257, 4, static_cast<std::uint32_t>(p.rows)},
                             {258, 3, 1},
                             {259, 3, static_cast<std::uint32_t>(compression)},
                             {262, 3, 0},
                             {266, 3, 1},
                             {273, 4, 8 + 2 + 12 * 10 + 4},
                             {278, 4, static_cast<std::uint32_t>(p.rows)},
                             {279, 4, static_cast<std::uint32_t>(data.size())},
                             {292, 4, p.k > 0 ? 1U : 0U}};
    Bytes tiff = {'I', 'I', 42, 0, 8, 0, 0, 0};
    Append(tiff, 10, 2);
    for (const Entry& entry : entries) {
        Append(tiff, entry.tag, 2);
        Append(tiff, entry.type, 2);
        Append(tiff, 1, 4);
        Append(tiff, entry.value, 4);
    }
    Append(tiff, 0, 4);
    tiff.insert(tiff.end(), data.begin(), data.end());
    return tiff;
}

// --- JBIG2 -----------------------------------------------------------------------------------------------------------------------

constexpr std::size_t kMaxJbig2Allocation = std::size_t{512} << 20;

void* Jbig2Alloc(Jbig2Allocator*, std::size_t size) {
    return size > kMaxJbig2Allocation ? nullptr : std::malloc(size);
}
void Jbig2Free(Jbig2Allocator*, void* memory) {
    std::free(memory);
}
void* Jbig2Realloc(Jbig2Allocator*, void* memory, std::size_t size) {
    return size > kMaxJbig2Allocation ? nullptr : std::realloc(memory, size);
}
// Keeps the first complaint: the decoder goes on after most of them, and its picture is then not to be trusted.
void Jbig2Complain(void* data, const char* text, Jbig2Severity severity, std::uint32_t) {
    auto& complaint = *static_cast<std::string*>(data);
    if (severity >= JBIG2_SEVERITY_WARNING && complaint.empty())
        complaint = text == nullptr ? "damaged" : text;
}

struct Jbig2Closer {
    void operator()(Jbig2Ctx* context) const { jbig2_ctx_free(context); }
    void operator()(Jbig2GlobalCtx* context) const { jbig2_global_ctx_free(context); }
};

}  // namespace

std::optional<Bytes> DecodeCcitt(ByteSpan data, const CcittParameters& p) {
    if (p.columns < 1 || p.rows < 1 || data.empty() || data.size() > UINT32_MAX / 2) return std::nullopt;
    // Rows of the two-dimensional coders that start at byte borders are not known to the TIFF library.
    if (p.byteAlign && p.k != 0) return std::nullopt;
    const bool plainRows = p.k == 0 && !StartsWithEol(data);
    const int compression = p.k < 0     ? COMPRESSION_CCITTFAX4
                            : plainRows ? COMPRESSION_CCITTRLE
                                        : COMPRESSION_CCITTFAX3;
    MemoryFile file{WrapInTiff(data, p, compression)};
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                   TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), Silent, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), Silent, nullptr);
    const std::unique_ptr<TIFF, decltype(&TIFFClose)> tiff(
        TIFFClientOpenExt("page", "rm", &file, ReadMemory, WriteMemory, SeekMemory, CloseMemory, SizeMemory,
                          nullptr, nullptr, options.get()),
        TIFFClose);
    if (!tiff) return std::nullopt;
    if (plainRows) {
        const int align = p.byteAlign ? FAXMODE_BYTEALIGN : 0;
        TIFFSetField(tiff.get(), TIFFTAG_FAXMODE, FAXMODE_NORTC | FAXMODE_NOEOL | align);
    }
    const std::size_t rowBytes = (static_cast<std::size_t>(p.columns) + 7) / 8;
    if (static_cast<std::size_t>(TIFFScanlineSize(tiff.get())) != rowBytes) return std::nullopt;
    Bytes rows(rowBytes * static_cast<std::size_t>(p.rows), 0);
    int done = 0;
    while (done < p.rows &&
           TIFFReadScanline(tiff.get(), rows.data() + rowBytes * static_cast<std::size_t>(done),
                            static_cast<std::uint32_t>(done)) == 1)
        ++done;
    if (done == 0) return std::nullopt;
    std::fill(rows.begin() + static_cast<std::ptrdiff_t>(rowBytes * static_cast<std::size_t>(done)),
              rows.end(), std::uint8_t{0});
    // The library's bits are 1 for black.
    if (!p.blackIs1)
        for (std::uint8_t& byte : rows) byte = static_cast<std::uint8_t>(~byte);
    return rows;
}

std::optional<Bytes> DecodeJbig2(ByteSpan data, ByteSpan globals, int width, int height,
                                 std::string& complaint) {
    complaint.clear();
    if (width < 1 || height < 1 || data.empty()) return std::nullopt;
    Jbig2Allocator allocator{Jbig2Alloc, Jbig2Free, Jbig2Realloc};
    std::unique_ptr<Jbig2GlobalCtx, Jbig2Closer> shared;
    if (!globals.empty()) {
        Jbig2Ctx* context =
            jbig2_ctx_new(&allocator, JBIG2_OPTIONS_EMBEDDED, nullptr, Jbig2Complain, &complaint);
        if (context == nullptr) return std::nullopt;
        jbig2_data_in(context, globals.data(), globals.size());
        shared.reset(jbig2_make_global_ctx(context));
    }
    const std::unique_ptr<Jbig2Ctx, Jbig2Closer> context(
        jbig2_ctx_new(&allocator, JBIG2_OPTIONS_EMBEDDED, shared.get(), Jbig2Complain, &complaint));
    if (!context) return std::nullopt;
    jbig2_data_in(context.get(), data.data(), data.size());
    jbig2_complete_page(context.get());
    Jbig2Image* page = jbig2_page_out(context.get());
    if (page == nullptr) return std::nullopt;

    const std::size_t rowBytes = (static_cast<std::size_t>(width) + 7) / 8;
    Bytes rows(rowBytes * static_cast<std::size_t>(height), 0xFF);
    const std::size_t usedBytes = std::min<std::size_t>(rowBytes, page->stride);
    const std::size_t usedRows = std::min<std::size_t>(static_cast<std::size_t>(height), page->height);
    for (std::size_t y = 0; y < usedRows; ++y)
        for (std::size_t x = 0; x < usedBytes; ++x)
            rows[y * rowBytes + x] = static_cast<std::uint8_t>(~page->data[y * page->stride + x]);
    jbig2_release_page(context.get(), page);
    return rows;
}
