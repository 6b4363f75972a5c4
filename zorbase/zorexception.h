#pragma once

#include <exception>
#include <string>

// The exception of the base library and everything above it: where it was thrown, of what kind, and a text for the user.
// The text is UTF-8, already fit to be shown, and says what to do where something can be done.
class ZorException : public std::exception {
  public:
    enum class Kind { Internal, File, Format, Memory, Network, Argument, Aborted };

    ZorException(const char* sourceFile, int line, Kind kind, std::string message)
        : m_sourceFile(sourceFile), m_line(line), m_kind(kind), m_message(std::move(message)) {}

    const char* what() const noexcept override { return m_message.c_str(); }
    const std::string& GetMessage() const { return m_message; }
    const char* GetSourceFile() const { return m_sourceFile; }
    int GetLine() const { return m_line; }
    Kind GetKind() const { return m_kind; }

  private:
    const char* m_sourceFile;
    int m_line;
    Kind m_kind;
    std::string m_message;
};

#define ZOR_THROW(kind, message) throw ZorException(__FILE__, __LINE__, ZorException::Kind::kind, (message))
