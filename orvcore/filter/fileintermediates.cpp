#include "orvcore/filter/fileintermediates.h"

#include "orvcore/filter/filterresult.h"
#include "orvcore/filter/intermediates.h"

std::shared_ptr<const FileStructure> GetFileStructure(const OrvLoadedFile& file, const OrvJob& job) {
    return file.GetShared<FileStructure>(
        "file structure", [&] { return ReadFileStructure(file.GetBytes(), job.Part()); },
        [](const FileStructure& structure) {
            std::size_t bytes = sizeof structure + structure.rows.size() * sizeof(StructureRow);
            for (const StructureRow& row : structure.rows) bytes += row.text.size() + row.warning.size();
            return bytes;
        });
}

std::shared_ptr<const JpegTables> GetJpegTables(const OrvLoadedFile& file) {
    const auto structure = GetJpegStructure(file);
    return file.GetShared<JpegTables>(
        "jpeg tables", [&] { return ReadJpegTables(file.GetBytes(), *structure); },
        [](const JpegTables& tables) {
            return sizeof tables + tables.quantization.size() * 256 + tables.huffman.size() * 400;
        });
}

std::shared_ptr<const JpegCoefficients> GetFirstCoefficients(const OrvLoadedFile& file, const OrvJob& job) {
    return file.GetShared<JpegCoefficients>(
        "jpeg coefficients of the first component",
        [&] { return ReadJpegCoefficients(file.GetBytes(), JpegComponentChoice::First, job.Part()); },
        [](const JpegCoefficients& read) {
            std::size_t bytes = sizeof read;
            for (const auto& plane : read.components) bytes += BytesOfMat(plane.coefficients);
            return bytes;
        });
}

std::string WhyNoCoefficients(const OrvLoadedFile& file) {
    if (file.GetInfo().format != FileFormat::Jpeg) return "Not a JPEG";
    const auto structure = GetJpegStructure(file);
    const JpegFrame& frame = structure->frame;
    if (frame.components.empty()) return "No frame header";
    if (frame.process.find("DCT") == std::string::npos ||
        frame.process.find("ifferential") != std::string::npos)
        return "No DCT coefficients in this kind of JPEG";
    if (frame.precision != 8) return "More than 8 bits per sample";
    return {};
}

void MergeRows(VecParameter& output, const OrvSlotResult* evidence, const OrvSlotResult* reference,
               const TableComparison& how) {
    const auto rowsOf = [](const OrvSlotResult* slot) -> const TableString* {
        const Parameter* rows = slot != nullptr ? slot->output.Find("rows") : nullptr;
        return rows != nullptr && rows->IsSet() ? &rows->Get<TableString>() : nullptr;
    };
    output.Find("rows")->Reset();
    const TableString table = CompareTables(rowsOf(evidence), rowsOf(reference), how);
    if (!table.empty()) output.Find("table")->SetValue(table);
}
