#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "orvcore/filter/filterresult.h"

class OrvFilter;

// Results of filters kept on disk, one folder per file. A cache file is named after a hash of (file, filter,
// filter version, parameters, content of the files among them, how the picture is decoded, versions of the decoding libraries), holds
// its own checksum, and is ignored when anything about it is wrong. Images and maps are kept losslessly, the file's own picture is not
// kept. Where the files together exceed the limit, the ones that were neither written nor read for longest go. May be deleted at any
// time. Functions never throw: a cache that cannot be read or written is no cache.
class OrvResultCache {
  public:
    explicit OrvResultCache(std::string root) : m_root(std::move(root)) {}

    // How many bytes the cache may take; 0: any number. Any thread.
    void SetLimit(std::uint64_t bytes) { m_limit = bytes; }
    std::uint64_t GetSize() const;  // of what is on disk now
    void Clear() const;

    // The folder of a file, existing or not.
    std::string FolderOf(const OrvLoadedFile& file) const;

    std::shared_ptr<OrvSlotResult> Load(const OrvFilter& filter, const OrvLoadedFile& file,
                                        const VecParameter& input) const;
    void Store(const OrvFilter& filter, const OrvLoadedFile& file, const VecParameter& input,
               const OrvSlotResult& result) const;
    void Forget(const OrvFilter& filter, const OrvLoadedFile& file, const VecParameter& input) const;

  private:
    std::string PathOf(const OrvFilter& filter, const OrvLoadedFile& file, const VecParameter& input) const;

    void Trim(const std::string& except) const;

    std::string m_root;
    std::atomic<std::uint64_t> m_limit{0};
};
