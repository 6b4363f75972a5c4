#include "orvcore/filters/consistencyoffile.h"

#include "orvcore/formats/provenance/provenance.h"

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
    for (const ConsistencyResult& one : broken) {
        if (one.rule->severity == RuleSeverity::Hint) continue;
        sentences.push_back(one.Text());
        isStrong = isStrong || one.rule->severity == RuleSeverity::Strong;
    }
    const OrvVerdict verdict = isStrong             ? OrvVerdict::StrongSign
                               : !sentences.empty() ? OrvVerdict::WorthALook
                                                    : OrvVerdict::NothingFound;
    result.Judge(verdict, ConsistencySummary(broken), std::move(sentences));
    result.Set("findings", ConsistencyLines(broken));
}
