#pragma once

#include <exiv2/exiv2.hpp>

#include <locale.h>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "orvcore/formats/metadata.h"
#include "zorbase/bytes.h"

// The metadata library is used through this one door. It keeps global state (log handler, registered name
// spaces, translations of its labels), so a session holds a lock, collects the library's log messages instead
// of letting them reach the terminal, and switches the calling thread to the C locale for its duration.
class ExivSession {
  public:
    ExivSession();
    ~ExivSession();
    ExivSession(const ExivSession&) = delete;
    ExivSession& operator=(const ExivSession&) = delete;

    // The file with its metadata read, or null: for formats without metadata, and when nothing could be read (a
    // warning then tells why). What the library refuses as a whole is read block by block, as far as blocks are found.
    // The bytes must outlive the result.
    Exiv2::Image::AutoPtr Open(ByteSpan bytes);

    // How far the last Open came.
    MetadataReading Reading() const { return m_reading; }

    // Runs work that may throw the library's exceptions; they become a warning. False when it threw.
    bool Guard(const std::function<void()>& work);

    const std::vector<std::string>& Warnings() const { return m_warnings; }
    void Warn(const std::string& text);

  private:
    Exiv2::Image::AutoPtr Rescue(ByteSpan bytes, Exiv2::Image::AutoPtr image);

    std::unique_lock<std::mutex> m_lock;
    locale_t m_oldLocale;
    std::vector<std::string> m_warnings;
    MetadataReading m_reading = MetadataReading::Whole;
};
