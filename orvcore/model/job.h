#pragma once

#include <functional>
#include <stop_token>
#include <string>

// What a piece of work on the core's worker thread gets from outside: the order to stop, and where to tell
// how far it is.
class OrvJob {
  public:
    OrvJob() = default;
    explicit OrvJob(std::stop_token stop) : m_stop(std::move(stop)) {}

    bool IsAborted() const { return m_stop.stop_requested(); }

    // Long loops call this at least every 50 ms. Throws ZorException (kind Aborted) once the user has asked
    // to stop.
    void CheckAbort() const;

    // The outer progress, 0..1; also checks for abort.
    void SetProgress(double done) const;
    void SetProgress(double done, const std::string& text) const;

    // A callback that does SetProgress over the part from..to of the whole, for functions that know nothing
    // of jobs.
    std::function<void(double)> Part(double from = 0.0, double to = 1.0) const;

    // A job for one piece of this one's work: what it reports moves this one's from..to, and its texts stand behind the
    // piece's name.
    OrvJob Piece(double from, double to, const std::string& name) const;

  private:
    double OfTheWhole(double done) const;
    std::string WithName(const std::string& text) const;

    std::stop_token m_stop;
    double m_from = 0.0;
    double m_to = 1.0;
    std::string m_name;
};
