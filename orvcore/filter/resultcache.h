#pragma once

#include <memory>
#include <string>

#include "orvcore/filter/filterresult.h"

class OrvFilter;

// Results of filters kept on disk, one folder per file. A cache file is named after a hash of (file, filter,
// filter version, parameters), holds its own checksum, and is ignored when anything about it is wrong. Images
// are kept losslessly. May be deleted at any time. Functions never throw: a cache that cannot be read or
// written is no cache.
class OrvResultCache {
  public:
    explicit OrvResultCache(std::string root) : m_root(std::move(root)) {}

    // The folder of a file, existing or not.
    std::string FolderOf(const OrvLoadedFile& file) const;

    std::shared_ptr<OrvSlotResult> Load(const OrvFilter& filter, const OrvLoadedFile& file,
                                        const VecParameter& input) const;
    void Store(const OrvFilter& filter, const OrvLoadedFile& file, const VecParameter& input,
               const OrvSlotResult& result) const;
    void Forget(const OrvFilter& filter, const OrvLoadedFile& file, const VecParameter& input) const;

  private:
    std::string PathOf(const OrvFilter& filter, const OrvLoadedFile& file, const VecParameter& input) const;

    std::string m_root;
};
