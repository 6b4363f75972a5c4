#include "zorbase/gpsformat.h"

#include <charconv>
#include <limits>
#include <span>
#include <string_view>

namespace {

class Reader {
  public:
    explicit Reader(std::string_view text) : m_rest(text) {}

    bool AtEnd() const { return m_rest.empty(); }

    void SkipBlanks() {
        while (!m_rest.empty() && (m_rest[0] == ' ' || m_rest[0] == '\t')) m_rest.remove_prefix(1);
    }

    bool Take(std::string_view start) {
        if (!m_rest.starts_with(start)) return false;
        m_rest.remove_prefix(start.size());
        return true;
    }

    bool TakeOneOf(std::span<const std::string_view> starts) {
        for (const std::string_view start : starts) {
            if (Take(start)) return true;
        }
        return false;
    }

    // One of N S E W in upper case, 0 when none stands here.
    char TakeHemisphere() {
        for (const char letter : {'N', 'S', 'E', 'W'}) {
            const char lower = static_cast<char>(letter - 'A' + 'a');
            if (!m_rest.empty() && (m_rest[0] == letter || m_rest[0] == lower)) {
                m_rest.remove_prefix(1);
                return letter;
            }
        }
        return 0;
    }

    // A number or a fraction of two; never negative.
    bool TakeNumber(double& value) {
        double number = 0;
        if (!TakeDecimal(number)) return false;
        if (Take("/")) {
            double divisor = 0;
            if (!TakeDecimal(divisor) || divisor == 0) return false;
            number /= divisor;
        }
        value = number;
        return true;
    }

  private:
    bool TakeDecimal(double& value) {
        if (m_rest.empty() || !((m_rest[0] >= '0' && m_rest[0] <= '9') || m_rest[0] == '.')) return false;
        const char* end = m_rest.data() + m_rest.size();
        // Without exponents: the E that follows a number means east.
        const auto [stop, error] = std::from_chars(m_rest.data(), end, value, std::chars_format::fixed);
        if (error != std::errc()) return false;
        m_rest.remove_prefix(static_cast<std::size_t>(stop - m_rest.data()));
        return true;
    }

    std::string_view m_rest;
};

// Signs after the first, second and third number.
constexpr std::string_view kDegreeSigns[] = {"degrees", "deg", "\xC2\xB0", "\xC2\xBA"};
constexpr std::string_view kMinuteSigns[] = {"min", "'", "\xE2\x80\xB2", "\xE2\x80\x99"};
constexpr std::string_view kSecondSigns[] = {"sec", "\"", "''", "\xE2\x80\xB3", "\xE2\x80\x9D"};
constexpr std::span<const std::string_view> kSigns[] = {kDegreeSigns, kMinuteSigns, kSecondSigns};
constexpr std::string_view kSeparators[] = {",", ":", ";"};

}  // namespace

double GPSFormat::ConvertToDeg(const std::string& text) {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    Reader reader(text);
    reader.SkipBlanks();
    char hemisphere = reader.TakeHemisphere();
    reader.SkipBlanks();
    const bool isNegative = reader.Take("-");
    const bool hasSign = isNegative || reader.Take("+");

    double degrees = 0;
    double unit = 1;
    int count = 0;
    while (count < 3) {
        double number = 0;
        if (!reader.TakeNumber(number) || (count > 0 && number >= 60)) return kNone;
        degrees += number * unit;
        unit /= 60;
        reader.SkipBlanks();
        reader.TakeOneOf(kSigns[count++]);
        reader.SkipBlanks();
        if (reader.AtEnd()) break;
        if (const char letter = reader.TakeHemisphere(); letter != 0) {
            if (hemisphere != 0) return kNone;
            hemisphere = letter;
            reader.SkipBlanks();
            break;
        }
        if (reader.TakeOneOf(kSeparators)) reader.SkipBlanks();
    }
    // A sign and a letter together could contradict each other.
    if (!reader.AtEnd() || (hasSign && hemisphere != 0)) return kNone;
    const bool isLatitude = hemisphere == 'N' || hemisphere == 'S';
    if (degrees > (isLatitude ? 90 : 180)) return kNone;
    return isNegative || hemisphere == 'S' || hemisphere == 'W' ? -degrees : degrees;
}
