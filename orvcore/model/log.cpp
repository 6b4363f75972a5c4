#include "orvcore/model/log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <system_error>

#include "zorbase/appversion.h"
#include "zorbase/calendar.h"
#include "zorbase/files.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr std::size_t kMaxLines = 20000;  // kept in memory
constexpr std::size_t kMaxText = 16000;   // of one line, bytes
constexpr std::uint64_t kMaxLogBytes = 1u << 30;
constexpr const char* kFormat = "orvane-log 1";
constexpr const char* kEnded = "Ended.";
const std::string kNoHash(64, '0');

struct Moment {
    std::string time;
    std::string zone;
};

Moment Now() {
    const auto now = std::chrono::system_clock::now();
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const CalendarTime utc = UtcTime(seconds);
    const int zone = LocalTime(seconds).secondsOfZone / 60;
    char text[120];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", utc.year, utc.month, utc.day,
                  utc.hour, utc.minute, utc.second, static_cast<int>(milliseconds % 1000));
    char offset[60];
    std::snprintf(offset, sizeof offset, "%c%02d:%02d", zone < 0 ? '-' : '+', std::abs(zone) / 60,
                  std::abs(zone) % 60);
    return {text, offset};
}

std::string LineBody(const OrvLogLine& line) {
    return ToString(line.number) + "\t" + line.time + "\t" + line.zone + "\t" + LogLevelName(line.level) +
           "\t" + line.text;
}

std::string ChainHash(const std::string& former, const std::string& body) {
    return Sha256(former + "\t" + body);
}

std::string NameOf(int number) {
    char name[40];
    std::snprintf(name, sizeof name, "orvane-%06d.log", number);
    return name;
}

// Number of a log by its name, 0 for a file that is none.
int NumberOf(const std::string& name) {
    int number = 0;
    const bool isLog = name.size() >= 17 && name.size() < 22 && name.starts_with("orvane-") &&
                       name.ends_with(".log") && FromString(name.substr(7, name.size() - 11), number);
    return isLog && number > 0 && NameOf(number) == name ? number : 0;
}

// Numbers and paths of a folder's logs, in order.
std::map<int, std::string> FindLogs(const std::string& folder) {
    std::map<int, std::string> found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
        if (const int number = NumberOf(entry.path().filename().string()); number > 0)
            found[number] = entry.path().string();
    return found;
}

// A line as it was written; number 0 for one that is none.
OrvLogLine ParseLine(const std::string& text) {
    const std::vector<std::string> cells = StringToVecString(text, "\t");
    OrvLogLine line;
    if (cells.size() != 6 || cells[5].size() != kNoHash.size() || !FromString(cells[0], line.number))
        return {};
    line.time = cells[1];
    line.zone = cells[2];
    for (const OrvLogLevel level : {OrvLogLevel::Warning, OrvLogLevel::Error})
        if (cells[3] == LogLevelName(level)) line.level = level;
    line.text = cells[4];
    line.sha256 = cells[5];
    return LineBody(line) + "\t" + line.sha256 == text ? line : OrvLogLine();
}

// The last whole line of a log, from its end.
OrvLogLine LastLine(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rbe");
    if (file == nullptr) return {};
    constexpr long kTail = 1 << 16;
    std::string tail(kTail, '\0');
    std::fseek(file, 0, SEEK_END);
    const long size = std::ftell(file);
    std::fseek(file, std::max(0L, size - kTail), SEEK_SET);
    tail.resize(std::fread(tail.data(), 1, tail.size(), file));
    std::fclose(file);
    // What comes after the last line feed was not written to its end.
    const std::size_t end = tail.rfind('\n');
    if (end == std::string::npos || end == 0) return {};
    const std::size_t begin = tail.rfind('\n', end - 1);
    return ParseLine(tail.substr(begin == std::string::npos ? 0 : begin + 1,
                                 end - (begin == std::string::npos ? 0 : begin + 1)));
}

// One log, read from its beginning.
struct ReadLog {
    std::vector<std::string> hashes;  // of the lines that hold
    OrvLogPlace former;
    bool isEnded = false;
    std::string problem;
};

ReadLog CheckChain(const std::string& path) {
    ReadLog log;
    const auto facts = GetFileFacts(path);
    if (!facts || facts->isFolder || facts->size > kMaxLogBytes) {
        log.problem = "cannot be read";
        return log;
    }
    const std::string text = ReadFile(path);
    std::string former = kNoHash;
    for (std::size_t at = 0; at < text.size();) {
        const std::string where = "line " + ToString(static_cast<int>(log.hashes.size()) + 1);
        const std::size_t end = text.find('\n', at);
        if (end == std::string::npos) {
            log.problem =
                where + " is not whole: the program was stopped while it was written, or the log was cut";
            return log;
        }
        const OrvLogLine line = ParseLine(text.substr(at, end - at));
        at = end + 1;
        if (line.number == 0) {
            log.problem = where + " is no line of a log";
        } else if (line.number != static_cast<int>(log.hashes.size()) + 1) {
            log.problem = where + " says that it is line " + ToString(line.number);
        }
        if (!log.problem.empty()) return log;
        if (log.hashes.empty()) {
            const std::vector<OrvLogPlace> places = FindLogPlaces(line.text);
            if (!places.empty()) {
                log.former = places.front();
                former = log.former.sha256;
            }
        }
        if (ChainHash(former, LineBody(line)) != line.sha256) {
            log.problem = where + " was changed, or a line before it was";
            return log;
        }
        former = line.sha256;
        log.hashes.push_back(line.sha256);
        log.isEnded = line.text == kEnded;
    }
    if (log.hashes.empty()) log.problem = "is empty";
    return log;
}

}  // namespace

const char* LogLevelName(OrvLogLevel level) {
    if (level == OrvLogLevel::Info) return "INFO";
    return level == OrvLogLevel::Warning ? "WARNING" : "ERROR";
}

std::string LogFolder() {
    return PathJoin(GetAppDocumentsPath(), "logs");
}

OrvLog::OrvLog(const std::string& folder) : m_formerHash(kNoHash) {
    const std::lock_guard lock(m_mutex);
    try {
        Open(folder);
    } catch (const ZorException& exception) {
        m_problem = exception.GetMessage();
        NoteLocked(OrvLogLevel::Info, std::string(kFormat) + "; " + AppVersion().GetFullName());
        NoteLocked(OrvLogLevel::Error, "The log cannot be written: " + m_problem);
    }
}

OrvLog::~OrvLog() {
    Note(OrvLogLevel::Info, kEnded);
    if (m_descriptor >= 0) close(m_descriptor);
}

void OrvLog::Open(const std::string& folder) {
    MakeFolder(folder);
    constexpr int kTries = 100;
    // Two programs that start at once take two numbers.
    for (int i = 0; i < kTries && m_descriptor < 0; ++i) {
        const std::map<int, std::string> logs = FindLogs(folder);
        const int number = logs.empty() ? 1 : logs.rbegin()->first + 1;
        const std::string path = PathJoin(folder, NameOf(number));
        m_descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC,
                            S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
        if (m_descriptor < 0 && errno != EEXIST)
            ZOR_THROW(File, "\"" + ToValidUtf8(path) + "\": " + std::generic_category().message(errno) + ".");
        if (m_descriptor < 0) continue;
        m_path = path;
        std::string opening = std::string(kFormat) + "; " + AppVersion().GetFullName() + "; ";
        if (logs.empty()) {
            opening += "there is no log before this one";
        } else {
            const std::string former = PathName(logs.rbegin()->second);
            const OrvLogLine last = LastLine(logs.rbegin()->second);
            if (last.number > 0) {
                m_formerHash = last.sha256;
                m_formerTime = last.time;
                opening += "the log before is " + LogPlaceText({former, last.number, last.sha256});
            } else {
                opening += "the log before, " + former + ", has no last line that can be read";
            }
        }
        const std::string before = std::exchange(m_formerTime, {});
        NoteLocked(OrvLogLevel::Info, opening);
        if (!before.empty() && !m_lines.empty() && m_lines.back().time < before)
            NoteLocked(OrvLogLevel::Warning, "The clock went back: the log before ends at " + before + ".");
    }
    if (m_descriptor < 0 && m_problem.empty())
        ZOR_THROW(File, "No name is free in \"" + ToValidUtf8(folder) + "\".");
}

void OrvLog::Note(OrvLogLevel level, const std::string& text) {
    const std::lock_guard lock(m_mutex);
    NoteLocked(level, text);
}

void OrvLog::NoteLocked(OrvLogLevel level, const std::string& text) {
    const Moment now = Now();
    const std::string before = std::exchange(m_formerTime, now.time);
    if (now.time < before)
        NoteLocked(OrvLogLevel::Warning,
                   "The clock went back: the line before was written at " + before + ".");
    OrvLogLine line;
    line.number = m_number + 1;
    line.time = now.time;
    line.zone = now.zone;
    line.level = level;
    line.text = EscapeTsv(ShortenText(ToValidUtf8(text), kMaxText));
    const std::string body = LineBody(line);
    line.sha256 = ChainHash(m_formerHash, body);
    if (m_descriptor >= 0) {
        const std::string bytes = body + "\t" + line.sha256 + "\n";
        const ssize_t written = write(m_descriptor, bytes.data(), bytes.size());
        if (written != static_cast<ssize_t>(bytes.size())) {
            m_problem = "\"" + ToValidUtf8(m_path) +
                        "\": " + std::generic_category().message(written < 0 ? errno : ENOSPC) + ".";
            // Half a line is an end: nothing may follow it.
            close(std::exchange(m_descriptor, -1));
        }
    }
    m_formerHash = line.sha256;
    m_number = line.number;
    m_lines.push_back(std::move(line));
    if (m_lines.size() > kMaxLines) m_lines.pop_front();
}

OrvLogPlace OrvLog::GetPlace() {
    const std::lock_guard lock(m_mutex);
    if (m_descriptor < 0 || fdatasync(m_descriptor) != 0) return {};
    return {PathName(m_path), m_number, m_formerHash};
}

std::string OrvLog::GetPath() const {
    const std::lock_guard lock(m_mutex);
    return m_descriptor >= 0 ? m_path : std::string();
}

std::string OrvLog::GetProblem() const {
    const std::lock_guard lock(m_mutex);
    return m_problem;
}

std::vector<OrvLogLine> OrvLog::GetLines(int after) const {
    const std::lock_guard lock(m_mutex);
    const auto first = std::find_if(m_lines.begin(), m_lines.end(),
                                    [after](const OrvLogLine& line) { return line.number > after; });
    return {first, m_lines.end()};
}

OrvLogCheck VerifyLogs(const std::string& folder, const std::vector<OrvLogPlace>& places) {
    OrvLogCheck check;
    const auto tell = [&check](bool isGood, const std::string& text) {
        check.isGood = check.isGood && isGood;
        check.lines.push_back((isGood ? "good   " : "NOT    ") + text);
    };
    std::map<std::string, ReadLog> logs;
    const auto holds = [&logs](const OrvLogPlace& place) {
        const auto log = logs.find(place.log);
        if (log == logs.end()) return std::string("there is no such log");
        if (place.line < 1 || static_cast<std::size_t>(place.line) > log->second.hashes.size())
            return std::string("there is no such line that holds");
        return log->second.hashes[static_cast<std::size_t>(place.line) - 1] == place.sha256
                   ? std::string()
                   : std::string("the line there has another hash");
    };
    int expected = 1;
    for (const auto& [number, path] : FindLogs(folder)) {
        const std::string name = NameOf(number);
        ReadLog& log = logs[name];
        try {
            log = CheckChain(path);
        } catch (const ZorException& exception) {
            log.problem = exception.GetMessage();
        }
        if (number > expected)
            tell(false, number - expected == 1
                            ? NameOf(expected) + " is missing"
                            : NameOf(expected) + " to " + NameOf(number - 1) + " are missing");
        expected = number + 1;
        std::string text = name + ": " + ToString(static_cast<int>(log.hashes.size())) + " lines";
        if (!log.problem.empty()) {
            tell(false, text + " hold; " + log.problem);
            continue;
        }
        if (!log.isEnded) text += ", still being written or ended by a crash";
        tell(true, text);
        if (log.former.log.empty()) {
            if (number > 1) tell(false, name + " names no log before it");
        } else if (const std::string why = holds(log.former); !why.empty()) {
            tell(false, name + " follows " + LogPlaceText(log.former) + ": " + why);
        }
    }
    if (logs.empty()) tell(false, "there is no log in \"" + ToValidUtf8(folder) + "\"");
    for (const OrvLogPlace& place : places) {
        const std::string why = holds(place);
        tell(why.empty(), "stated: " + LogPlaceText(place) + (why.empty() ? "" : ": " + why));
    }
    return check;
}
