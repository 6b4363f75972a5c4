#include "orvcore/filters/consistencyoffile.h"

#include "orvcore/formats/provenance/provenance.h"
#include "zorbase/text.h"

std::shared_ptr<const ConsistencyParts> GetConsistencyParts(const OrvLoadedFile& file) {
    return file.GetShared<ConsistencyParts>(
        "consistency parts", [&] { return ReadConsistencyParts(file.GetBytes()); },
        [](const ConsistencyParts& parts) {
            std::size_t bytes = sizeof parts + parts.thumbnail.size() + parts.metadata.set.xmpPacket.size() +
                                parts.jpeg.segments.size() * sizeof(JpegSegment);
            for (const MetadataEntry& entry : parts.metadata.set.entries)
                bytes += sizeof entry + entry.value.size() + entry.raw.size();
            return bytes;
        });
}

ConsistencyInput ConsistencyInputOf(const OrvLoadedFile& file, const ConsistencyParts& parts,
                                    bool wantsCredentials, const OrvJob& job) {
    ConsistencyInput input = ReadConsistencyInput(file.GetBytes(), file.GetPath(), parts);
    input.modified = file.GetFacts().modified;
    if (wantsCredentials && HasProvenance(file.GetBytes())) {
        ProvenanceOptions options;
        options.metadata = &parts.metadata.set;
        options.wantsMarks = false;
        options.between = [&job] { job.CheckAbort(); };
        const provenance::Report report = ReadProvenance(file.GetBytes(), {}, options);
        input.hasCredentials = true;
        input.credentialSignature = report.signature.answer;
        input.credentialContent = report.content.answer;
    }
    return input;
}

void JudgeConsistency(const std::vector<ConsistencyResult>& broken, OrvSlotResult& result) {
    std::vector<std::string> sentences;
    bool isStrong = false;
    bool isDeclared = false;
    for (const ConsistencyResult& one : broken) {
        sentences.push_back(one.Text());
        isStrong = isStrong || one.rule->severity == RuleSeverity::Strong;
        isDeclared = isDeclared || std::string(one.rule->id) == "declared-source";
    }
    const std::size_t count = sentences.size();
    if (count == 0) return result.Judge(OrvVerdict::NothingFound, "Nothing found");
    const std::string text = isDeclared   ? "Declared by the file itself"
                             : isStrong   ? "Content credentials do not hold"
                             : count == 1 ? "1 point to look at"
                                          : ToString(static_cast<int>(count)) + " points to look at";
    result.Judge(isStrong ? OrvVerdict::StrongSign : OrvVerdict::WorthALook, text, std::move(sentences));
}
