#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "orvcore/filter/filter.h"
#include "orvcore/filters/filterlist.h"

inline OrvFilePtr LoadForTest(const std::string& path) {
    return OrvLoadedFile::Load(path, std::uint64_t{1} << 32, OrvJob());
}

// Runs a filter without a core on one or two files ("" for none), with its default parameters unless others are
// given.
inline OrvFilterResultPtr RunFilter(const OrvFilter& filter, const std::string& evidence,
                                    const std::string& reference = {}, const VecParameter* input = nullptr,
                                    const VecParameter* post = nullptr) {
    OrvFilterResult request;
    request.input = input != nullptr ? *input : filter.GetInputPrototype();
    request.postProcessing = post != nullptr ? *post : filter.GetPostProcessingPrototype();
    if (!evidence.empty()) request.file[OrvEvidence] = LoadForTest(evidence);
    if (!reference.empty()) request.file[OrvReference] = LoadForTest(reference);
    return filter.Run(request, {}, OrvJob(), nullptr);
}

inline std::string OutputOf(const OrvFilterResultPtr& result, const std::string& name,
                            bool reference = false) {
    return result->output.Find(name)->GetValueAsString(reference);
}

// One of the program's filters; null when there is none of that id.
inline std::unique_ptr<OrvFilter> MakeFilter(const std::string& id) {
    std::vector<std::unique_ptr<OrvFilter>> filters = CreateAllFilters();
    for (std::unique_ptr<OrvFilter>& filter : filters)
        if (filter->GetId() == id) return std::move(filter);
    return nullptr;
}
