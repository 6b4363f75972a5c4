#pragma once

#include <atomic>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "orvcore/model/logplace.h"

enum class OrvLogLevel { Info, Warning, Error };

// "INFO", "WARNING", "ERROR".
const char* LogLevelName(OrvLogLevel level);

struct OrvLogLine {
    int number = 0;    // counted from 1
    std::string time;  // UTC, "2026-11-22T07:33:08.123Z"
    std::string zone;  // how far the user's clock was ahead of it, "+01:00"
    OrvLogLevel level = OrvLogLevel::Info;
    std::string text;    // one line; tabs, line feeds and backslashes are written \t \n \\.
    std::string sha256;  // of the line before's and of everything else in this line
};

// What the program did, line by line, in one file per start: "orvane-000012.log". Each line carries the SHA-256 of itself and the
// line before; the first one names the log before with its last line, so that the logs of a folder are one chain. What is changed
// afterwards, removed or put in between is noticed by VerifyLogs, as far as a later line, log, project or report states it. Not
// noticed is what nothing later vouches for: lines cut off at the end of the newest log, or everything from some line on written
// anew together with all logs, projects and reports made since.
//
// Any thread. Lines reach the operating system one by one, at once. A folder that cannot be written costs the file, not the lines:
// they are then kept in memory alone, and GetProblem says why.
class OrvLog {
  public:
    explicit OrvLog(const std::string& folder);
    ~OrvLog();  // writes that the program ended
    OrvLog(const OrvLog&) = delete;
    OrvLog& operator=(const OrvLog&) = delete;

    void Note(OrvLogLevel level, const std::string& text);
    // The newest line, which is on disk when this returns; empty while there is no file.
    OrvLogPlace GetPlace();
    std::string GetPath() const;     // "" while there is no file
    std::string GetProblem() const;  // why there is none, "" otherwise
    // The newest lines (the oldest of very many are let go) with numbers above `after`.
    std::vector<OrvLogLine> GetLines(int after = 0) const;
    int GetLastNumber() const { return m_number; }

  private:
    void Open(const std::string& folder);
    void NoteLocked(OrvLogLevel level, const std::string& text);

    mutable std::mutex m_mutex;
    std::string m_path;
    std::string m_problem;
    std::string m_formerHash;
    std::string m_formerTime;
    std::atomic<int> m_number{0};
    int m_descriptor = -1;
    std::deque<OrvLogLine> m_lines;
};

// Where the program keeps its logs.
std::string LogFolder();

// What became of a check of logs.
struct OrvLogCheck {
    bool isGood = true;
    std::vector<std::string> lines;  // for reading, one finding each
};
// Checks every log of the folder and how they hang together, and whether they hold what the places state. Never throws; a log that
// cannot be read is a finding.
OrvLogCheck VerifyLogs(const std::string& folder, const std::vector<OrvLogPlace>& places);
