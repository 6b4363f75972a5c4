#pragma once

#include <string>

// The progress of what the core does now, in two levels, for one poller. Values are 0..1. Setters are called by whoever does
// the work (any thread), getters by the window every 100 ms; neither ever waits for the other longer than copying a text.

double acvGetProgress();
double acvGetProgress2();
std::string acvGetProgressString();
std::string acvGetProgressString2();
bool acvProgressRunning2();

void acvSetProgress(double value);
void acvSetProgress(double value, const std::string& text);
void acvSetProgress2(double value);
void acvSetProgress2(double value, const std::string& text);

// Both levels to 0 and empty; the inner level not running. Called when a command starts and when it ends.
void acvResetProgress();

// The inner level runs while one of these lives. Not nested.
class ProgressInner {
  public:
    explicit ProgressInner(const std::string& text);
    ~ProgressInner();
    ProgressInner(const ProgressInner&) = delete;
    ProgressInner& operator=(const ProgressInner&) = delete;
};
