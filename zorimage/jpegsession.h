#pragma once

#include <array>
#include <csetjmp>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <string>

// The library's header needs the ones above.
#include <jpeglib.h>

#include "zorbase/bytes.h"
#include "zorimage/warnings.h"

// What every use of the JPEG library needs around its calls. The library reports errors by a callback that must not return: here it jumps
// back to the Run under way. Whatever Run calls must own nothing, as nothing that is jumped over is destroyed. One thread at a time.
class JpegSession {
  public:
    JpegSession() = default;
    JpegSession(const JpegSession&) = delete;
    JpegSession& operator=(const JpegSession&) = delete;
    virtual ~JpegSession() = default;

    // Calls into the library; false when it gave up, or Refuse was called.
    template <typename Step>
    bool Run(const Step& step) {
        if (setjmp(m_jump) != 0) return false;  // NOLINT: the library's way to report errors
        step();
        return true;
    }
    // Within Run only: gives up with this text.
    [[noreturn]] void Refuse(const char* text);

    // Why the last Run gave up, in the library's words, without a full stop of its own.
    const char* GetError() const { return m_error.data(); }
    bool IsOutOfMemory() const { return m_isOutOfMemory; }
    // For messages: what came before, the library's reason, and a full stop.
    std::string Explain(const std::string& before) const;

  protected:
    // Makes the library report to this session; before jpeg_create_compress or jpeg_create_decompress, which keep it.
    template <typename Info>
    void Attach(Info& info) {
        PrepareManager();
        info.err = &m_manager;
        info.client_data = this;
    }
    static JpegSession& Of(j_common_ptr info) { return *static_cast<JpegSession*>(info->client_data); }
    // The library warns: called within Run.
    virtual void OnWarning(j_common_ptr) {}
    [[noreturn]] void GiveUp();

  private:
    void PrepareManager();
    static void OnError(j_common_ptr info);
    static void OnMessage(j_common_ptr info, int level);

    jpeg_error_mgr m_manager{};
    std::jmp_buf m_jump{};
    std::array<char, JMSG_LENGTH_MAX> m_error{};
    bool m_isOutOfMemory = false;
};

// Reading one file: warnings, progress, and a limit of the work that a file may ask for (scans, and pixels times scans for its size).
class JpegReading : public JpegSession {
  public:
    // The bytes outlive it. progress, which may be null, gets the share of the bytes that was read, 0 to 1; what it throws ends the
    // Run under way and is kept in `stopped`.
    explicit JpegReading(ByteSpan bytes, const std::function<void(double)>* progress = nullptr);
    ~JpegReading() override;

    // Within Run: creates the decompressor and reads the header.
    void ReadHeader();
    void RethrowIfStopped() const;

    jpeg_decompress_struct info{};
    codec::Warnings warnings;
    std::exception_ptr stopped;
    bool tellsProgress = true;  // while the rows of the file are read, not while they are given out
    int maxScans = 500;         // more than any encoder writes
    int scan = 0;               // the one being read, from 1
    std::size_t scanStart = 0;  // where its data begins
    bool endedEarly = false;
    JDIMENSION blockRowsBeforeEnd = 0;  // rows of MCUs read of the scan in which the file ended

  private:
    void OnWarning(j_common_ptr common) override;
    static void OnMonitor(j_common_ptr common);
    [[noreturn]] void RefuseScans();
    std::size_t Position() const;

    ByteSpan m_bytes;
    const std::function<void(double)>* m_progress;
    jpeg_progress_mgr m_monitor{};
};

// A reading on which begin(reading) was run without an error. Where a later scan is damaged the bytes before it are read instead, a whole,
// coarser picture, and `lost` says so in a sentence. Null when nothing can be read; `failed` is the reading that tells why.
template <typename Begin>
std::unique_ptr<JpegReading> BeginReading(ByteSpan bytes, const std::function<void(double)>* progress,
                                          const Begin& begin, std::string& lost,
                                          std::unique_ptr<JpegReading>& failed) {
    auto reading = std::make_unique<JpegReading>(bytes, progress);
    if (reading->Run([&] { begin(*reading); })) return reading;
    if (reading->stopped || reading->IsOutOfMemory() || reading->scan < 2 ||
        reading->scan > reading->maxScans) {
        failed = std::move(reading);
        return nullptr;
    }
    lost = "Scan " + std::to_string(reading->scan) + " is damaged (" + reading->GetError() +
           "): it and all scans after it are left out.";
    auto before = std::make_unique<JpegReading>(bytes.first(reading->scanStart), progress);
    if (before->Run([&] { begin(*before); })) return before;
    failed = std::move(before);
    return nullptr;
}
