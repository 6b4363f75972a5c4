#include "zorimage/warnings.h"

#include <algorithm>

namespace codec {

namespace {

constexpr std::size_t kMaxWarnings = 20;

}  // namespace

void Warnings::Add(const std::string& text) {
    if (text.empty()) return;
    const std::string sentence = text.back() == '.' ? text : text + '.';
    if (std::find(m_texts.begin(), m_texts.end(), sentence) != m_texts.end()) return;
    if (m_texts.size() < kMaxWarnings - 1) {
        m_texts.push_back(sentence);
    } else {
        ++m_more;
    }
}

std::vector<std::string> Warnings::Take() {
    if (m_more > 0) m_texts.push_back("Further warnings of the decoder: " + std::to_string(m_more) + ".");
    m_more = 0;
    return std::move(m_texts);
}

}  // namespace codec
