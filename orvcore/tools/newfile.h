#pragma once

#include <cstdint>
#include <span>
#include <string>

// A file in the making: nothing stands under its name before it is whole, and nothing that has the name already is
// overwritten: then it gets " (2)", " (3)" … before its extension. Without Finish nothing is left. Errors are
// ZorException (kind File) with name and reason. Paths and names are bytes; the name holds no separator.
class NewFile {
  public:
    NewFile(const std::string& folder, const std::string& name);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void SetName(const std::string& name) { m_name = name; }
    void Write(std::span<const std::uint8_t> bytes);
    // Syncs, gives the name, and answers the one that it got. Called once, at the end.
    std::string Finish();

  private:
    [[noreturn]] void Fail() const;
    std::string GiveName() const;

    std::string m_folder;
    std::string m_name;
    std::string m_draft;
    int m_fd;
};
