#pragma once

#include <map>
#include <string>

#include "orvcore/filter/filterresult.h"

// The text with the folder's name and times of files made the same everywhere.
std::string WithoutPlaceAndDates(std::string text, const std::string& folder);

// A result in one line: of every map, plot and picture its size, its mean, where its weight lies and how much it varies; of texts, names and
// tables a checksum. Two results that differ in a value, a place or a word have different lines. folder: a path that the texts may hold
// and that is of no account; neither are dates of files.
std::string DigestOf(const OrvFilterResult& result, const std::string& folder);

// What differs between two lines, "" for nothing: words and checksums letter by letter, numbers up to one in ten thousand (processors
// differ in the last bits).
std::string DifferenceOf(const std::string& kept, const std::string& found);

// The results that were kept, one line each; see DigestOf. They were looked at when they were made: a filter that is meant to answer otherwise
// changes its version and its lines. With the environment variable ORVANE_KEEP_RESULTS the file is written anew from what is found.
class KeptResults {
  public:
    // Lines of that beginning that are no longer asked for go when the file is written.
    explicit KeptResults(const std::string& beginning);
    ~KeptResults();
    void Check(const std::string& name, const std::string& digest);
    bool Knows(const std::string& name) const;

  private:
    std::map<std::string, std::string> m_kept;
};
