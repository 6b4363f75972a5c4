#include "zorimage/jpegsession.h"

#include <algorithm>

// The library's error codes need the header above.
#include <jerror.h>

namespace {

// Work that a file may ask for: pixels times scans per byte, for pictures that are not small.
constexpr double kMaxWorkPerByte = 200000.0;
constexpr double kUndoubtedWork = 1e9;

}  // namespace

void JpegSession::PrepareManager() {
    jpeg_std_error(&m_manager);
    m_manager.error_exit = OnError;
    m_manager.emit_message = OnMessage;
}

void JpegSession::GiveUp() {
    std::longjmp(m_jump, 1);
}

void JpegSession::Refuse(const char* text) {
    std::snprintf(m_error.data(), m_error.size(), "%s", text);
    GiveUp();
}

std::string JpegSession::Explain(const std::string& before) const {
    const std::string text = before + m_error.data();
    return text.ends_with('.') ? text : text + '.';
}

void JpegSession::OnError(j_common_ptr info) {
    JpegSession& session = Of(info);
    info->err->format_message(info, session.m_error.data());
    session.m_isOutOfMemory = info->err->msg_code == JERR_OUT_OF_MEMORY;
    session.GiveUp();
}

void JpegSession::OnMessage(j_common_ptr info, int level) {
    if (level >= 0) return;
    ++info->err->num_warnings;
    Of(info).OnWarning(info);
}

JpegReading::JpegReading(ByteSpan bytes, const std::function<void(double)>* progress)
    : m_bytes(bytes), m_progress(progress) {
    Attach(info);
    m_monitor.progress_monitor = OnMonitor;
}

JpegReading::~JpegReading() {
    jpeg_destroy_decompress(&info);
}

void JpegReading::ReadHeader() {
    jpeg_create_decompress(&info);
    info.progress = &m_monitor;
    jpeg_mem_src(&info, m_bytes.data(), m_bytes.size());
    jpeg_read_header(&info, TRUE);
}

void JpegReading::RethrowIfStopped() const {
    if (stopped) std::rethrow_exception(stopped);
}

void JpegReading::OnWarning(j_common_ptr common) {
    if (common->err->msg_code == JWRN_JPEG_EOF && !endedEarly) {
        endedEarly = true;
        blockRowsBeforeEnd = info.input_iMCU_row;
    }
    std::array<char, JMSG_LENGTH_MAX> text{};
    common->err->format_message(common, text.data());
    try {
        warnings.Add(text.data());
    } catch (const std::exception&) {
        // Without memory for a sentence the picture still comes.
    }
}

void JpegReading::RefuseScans() {
    std::array<char, 60> text{};
    std::snprintf(text.data(), text.size(), "the file has more than %d scans", maxScans);
    Refuse(text.data());
}

std::size_t JpegReading::Position() const {
    return m_bytes.size() - std::min(m_bytes.size(), info.src->bytes_in_buffer);
}

// Called by the library for every row of blocks.
void JpegReading::OnMonitor(j_common_ptr common) {
    auto& self = static_cast<JpegReading&>(Of(common));
    const jpeg_decompress_struct& info = self.info;
    if (info.input_scan_number != self.scan) {
        self.scan = info.input_scan_number;
        self.scanStart = self.Position();
        const double work = static_cast<double>(info.image_width) * info.image_height * self.scan;
        if (self.scan > self.maxScans) self.RefuseScans();
        if (work > kUndoubtedWork && work > kMaxWorkPerByte * static_cast<double>(self.m_bytes.size()))
            self.Refuse("the file asks for far more work than its size can justify");
    }
    if (!self.tellsProgress || info.output_scanline > 0 || self.m_progress == nullptr || !*self.m_progress)
        return;
    try {
        (*self.m_progress)(static_cast<double>(self.Position()) / static_cast<double>(self.m_bytes.size()));
    } catch (...) {
        self.stopped = std::current_exception();
    }
    if (self.stopped) self.GiveUp();  // outside the handler: nothing of C++ is alive here
}
