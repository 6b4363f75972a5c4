#include "orvcore/formats/textencoding.h"

#include <iconv.h>

#include <cerrno>
#include <iterator>

namespace {

struct Encoding {
    const char* name;   // shown
    const char* iconv;  // the system's
};

constexpr Encoding kEncodings[] = {
    {"Western (ISO 8859-1)", "ISO-8859-1"},
    {"Central European (Windows-1250)", "CP1250"},
    {"Cyrillic (Windows-1251)", "CP1251"},
    {"Greek (Windows-1253)", "CP1253"},
    {"Turkish (Windows-1254)", "CP1254"},
    {"Japanese (Shift JIS)", "CP932"},
    {"Chinese, Simplified (GB 18030)", "GB18030"},
    {"Chinese, Traditional (Big5)", "BIG5"},
    {"Korean (EUC-KR)", "CP949"},
    {"Japanese (ISO-2022-JP)", "ISO-2022-JP-2"},
};

const Encoding& Find(TextEncoding encoding) {
    return kEncodings[static_cast<std::size_t>(encoding)];
}

class Converter {
  public:
    explicit Converter(const char* from) : m_handle(iconv_open("UTF-8", from)) {}
    ~Converter() {
        if (IsOpen()) iconv_close(m_handle);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    bool IsOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }
    iconv_t Get() const { return m_handle; }

  private:
    iconv_t m_handle;
};

}  // namespace

std::string TextEncodingName(TextEncoding encoding) {
    return Find(encoding).name;
}

std::vector<std::string> TextEncodingNames() {
    std::vector<std::string> names;
    for (const Encoding& encoding : kEncodings) names.emplace_back(encoding.name);
    names.pop_back();
    return names;
}

std::optional<std::string> DecodeText(std::string_view bytes, TextEncoding encoding) {
    const Converter converter(Find(encoding).iconv);
    if (!converter.IsOpen()) return std::nullopt;
    std::string input(bytes);
    char* next = input.data();
    std::size_t left = input.size();
    std::string text;
    char buffer[1024];
    while (left > 0) {
        char* out = buffer;
        std::size_t room = sizeof buffer;
        const std::size_t done = iconv(converter.Get(), &next, &left, &out, &room);
        const int error = done == static_cast<std::size_t>(-1) ? errno : 0;
        text.append(buffer, out);
        if (error == EINVAL) break;  // the last character is not whole
        if (error == EILSEQ) {
            text += "\xEF\xBF\xBD";
            ++next;
            --left;
        }
    }
    return text;
}
