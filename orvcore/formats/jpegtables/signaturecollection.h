#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// A collection of compression signatures that an examiner builds from pictures whose cameras are known. One
// file on disk (SQLite), read and changed by one object at a time per thread; several processes may share it,
// a change waits for another's end. Texts are UTF-8; those that came from pictures are hostile. Everything
// throws ZorException (kind File) when the file cannot be read or written, or is not such a collection.

struct SignatureRecord {
    std::string key;        // CompressionSignature::key
    std::string signature;  // SignatureText, for showing
    std::string make;
    std::string model;
    std::string software;
    std::int64_t count = 1;  // pictures seen
};

class SignatureCollection {
  public:
    // Opens the file, making it when there is none. A file that is there and empty is refused.
    explicit SignatureCollection(const std::string& path);
    ~SignatureCollection();
    SignatureCollection(const SignatureCollection&) = delete;
    SignatureCollection& operator=(const SignatureCollection&) = delete;

    // Adds the counts to what is known of the same key, make, model and software. All or nothing.
    void Add(const std::vector<SignatureRecord>& records);
    // Everything with that key, the most frequent first; empty when nothing writes like this.
    std::vector<SignatureRecord> Find(const std::string& key) const;
    // Numbers of different records and of pictures behind them.
    std::int64_t CountRecords() const;
    std::int64_t CountPictures() const;

    // One line per record under a line of column names, tab separated, as EscapeTsv writes cells; in the order of
    // keys. The text of Export read by Import into an empty collection gives the same collection.
    void Export(const std::function<void(const std::string& line)>& sink) const;
    // Adds what such a text says; answers the number of lines taken. Lines that are not records are counted in
    // `refused` when it is given. All or nothing on an error of the file.
    std::int64_t Import(const std::string& tsv, std::int64_t* refused = nullptr);

  private:
    class Implementation;
    std::unique_ptr<Implementation> m;
};
