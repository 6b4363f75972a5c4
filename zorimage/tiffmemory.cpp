#include "zorimage/tiffmemory.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "zorbase/zorexception.h"

namespace codec {

namespace {

tmsize_t RefuseWrite(thandle_t, void*, tmsize_t) {
    return 0;
}

int CloseNothing(thandle_t) {
    return 0;
}

void UnmapNothing(thandle_t, void*, toff_t) {}

// Beyond what the file itself fills, the library needs memory for one coded row, tile or table.
constexpr tmsize_t kWorkBytes = 256 << 20;

struct OptionsDeleter {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

}  // namespace

TiffReader::TiffReader(ByteSpan bytes) : m_bytes(bytes) {
    const std::unique_ptr<TIFFOpenOptions, OptionsDeleter> options(TIFFOpenOptionsAlloc());
    if (options) {
        TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(),
                                            static_cast<tmsize_t>(bytes.size()) * 2 + kWorkBytes);
        TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnError, this);
        TIFFOpenOptionsSetWarningHandlerExtR(options.get(), OnWarning, this);
        m_tiff = TIFFClientOpenExt(
            "TIFF", "r", this, OnRead, RefuseWrite, OnSeek, CloseNothing,
            [](thandle_t handle) -> toff_t { return static_cast<TiffReader*>(handle)->m_bytes.size(); },
            OnMap, UnmapNothing, options.get());
    }
    if (m_tiff == nullptr) {
        ZOR_THROW(Format, "The TIFF file cannot be opened" +
                              (m_error.empty() ? std::string(".") : ": " + m_error + "."));
    }
}

tmsize_t TiffReader::OnRead(thandle_t handle, void* target, tmsize_t size) {
    TiffReader& reader = *static_cast<TiffReader*>(handle);
    const std::uint64_t left =
        reader.m_bytes.size() - std::min<std::uint64_t>(reader.m_at, reader.m_bytes.size());
    const std::uint64_t taken =
        std::min<std::uint64_t>(left, static_cast<std::uint64_t>(std::max<tmsize_t>(size, 0)));
    if (taken > 0) std::memcpy(target, reader.m_bytes.data() + reader.m_at, taken);
    reader.m_at += taken;
    return static_cast<tmsize_t>(taken);
}

toff_t TiffReader::OnSeek(thandle_t handle, toff_t offset, int whence) {
    TiffReader& reader = *static_cast<TiffReader*>(handle);
    if (whence == SEEK_CUR) offset += reader.m_at;
    if (whence == SEEK_END) offset += reader.m_bytes.size();
    reader.m_at = offset;
    return offset;
}

int TiffReader::OnMap(thandle_t handle, void** base, toff_t* size) {
    const TiffReader& reader = *static_cast<TiffReader*>(handle);
    *base = const_cast<std::uint8_t*>(reader.m_bytes.data());  // the library only reads it
    *size = reader.m_bytes.size();
    return 1;
}

int TiffReader::OnWarning(TIFF*, void* user, const char* module, const char* format, va_list arguments) {
    std::array<char, 400> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    try {
        static_cast<TiffReader*>(user)->m_warnings.Add(std::string(module == nullptr ? "TIFF" : module) +
                                                       ": " + text.data());
    } catch (const std::exception&) {
        // Without memory for a sentence the picture still comes.
    }
    return 1;
}

int TiffReader::OnError(TIFF* tiff, void* user, const char* module, const char* format, va_list arguments) {
    std::array<char, 400> text{};
    va_list again;
    va_copy(again, arguments);
    std::vsnprintf(text.data(), text.size(), format, again);
    va_end(again);
    try {
        std::string& error = static_cast<TiffReader*>(user)->m_error;
        error = text.data();
        while (!error.empty() && error.back() == '.') error.pop_back();
    } catch (const std::exception&) {
        // As above.
    }
    return OnWarning(tiff, user, module, format, arguments);
}

std::uint32_t TiffReader::Get32(std::uint32_t tag, std::uint32_t otherwise) const {
    std::uint32_t value = 0;
    return TIFFGetFieldDefaulted(m_tiff, tag, &value) == 1 ? value : otherwise;
}

std::uint16_t TiffReader::Get16(std::uint32_t tag, std::uint16_t otherwise) const {
    std::uint16_t value = 0;
    return TIFFGetFieldDefaulted(m_tiff, tag, &value) == 1 ? value : otherwise;
}

}  // namespace codec
