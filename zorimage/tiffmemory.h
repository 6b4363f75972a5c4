#pragma once

#include <tiffio.h>

#include <cstdint>
#include <memory>
#include <span>

#include "zorimage/codec.h"

namespace codec {

// A TIFF file in memory, opened for reading; never throws through the library. What the library says is kept
// as warnings.
class TiffReader {
  public:
    // Opens the first directory, or throws ZorException (kind Format).
    explicit TiffReader(ByteSpan bytes);
    TiffReader(const TiffReader&) = delete;
    TiffReader& operator=(const TiffReader&) = delete;
    ~TiffReader() {
        if (m_tiff != nullptr) TIFFClose(m_tiff);
    }

    TIFF* Get() const { return m_tiff; }
    Warnings& GetWarnings() { return m_warnings; }
    // What the library gave up over last, without full stop; "" when it did not. Warnings are no errors.
    const std::string& GetError() const { return m_error; }

    // Fields with a default in the standard; the default when there is none.
    std::uint32_t Get32(std::uint32_t tag, std::uint32_t otherwise = 0) const;
    std::uint16_t Get16(std::uint32_t tag, std::uint16_t otherwise = 0) const;

  private:
    static tmsize_t OnRead(thandle_t handle, void* target, tmsize_t size);
    static toff_t OnSeek(thandle_t handle, toff_t offset, int whence);
    static int OnMap(thandle_t handle, void** base, toff_t* size);
    static int OnWarning(TIFF*, void* user, const char* module, const char* format, va_list arguments);
    static int OnError(TIFF*, void* user, const char* module, const char* format, va_list arguments);

    ByteSpan m_bytes;
    std::uint64_t m_at = 0;
    Warnings m_warnings;
    std::string m_error;
    TIFF* m_tiff = nullptr;
};

}  // namespace codec
