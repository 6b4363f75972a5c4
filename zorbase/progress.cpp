#include "zorbase/progress.h"

#include <algorithm>
#include <atomic>
#include <mutex>

namespace {

class Level {
  public:
    double Value() const { return m_value.load(std::memory_order_relaxed); }
    // The comparison order turns NaN into 0.
    void SetValue(double value) {
        m_value.store(std::min(1.0, std::max(0.0, value)), std::memory_order_relaxed);
    }

    std::string Text() const {
        const std::lock_guard lock(m_mutex);
        return m_text;
    }
    void SetText(const std::string& text) {
        std::string copy(text);
        const std::lock_guard lock(m_mutex);
        m_text.swap(copy);
    }

  private:
    std::atomic<double> m_value{0};
    mutable std::mutex m_mutex;
    std::string m_text;
};

Level& Outer() {
    static Level level;
    return level;
}

Level& Inner() {
    static Level level;
    return level;
}

std::atomic<bool> s_innerRuns{false};

}  // namespace

double acvGetProgress() {
    return Outer().Value();
}
double acvGetProgress2() {
    return Inner().Value();
}
std::string acvGetProgressString() {
    return Outer().Text();
}
std::string acvGetProgressString2() {
    return Inner().Text();
}
bool acvProgressRunning2() {
    return s_innerRuns.load();
}

void acvSetProgress(double value) {
    Outer().SetValue(value);
}

void acvSetProgress(double value, const std::string& text) {
    Outer().SetValue(value);
    Outer().SetText(text);
}

void acvSetProgress2(double value) {
    Inner().SetValue(value);
}

void acvSetProgress2(double value, const std::string& text) {
    Inner().SetValue(value);
    Inner().SetText(text);
}

void acvResetProgress() {
    s_innerRuns.store(false);
    acvSetProgress(0, {});
    acvSetProgress2(0, {});
}

ProgressInner::ProgressInner(const std::string& text) {
    acvSetProgress2(0, text);
    s_innerRuns.store(true);
}

ProgressInner::~ProgressInner() {
    s_innerRuns.store(false);
    acvSetProgress2(0, {});
}
