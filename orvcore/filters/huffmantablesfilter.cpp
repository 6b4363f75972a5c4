#include <cstdio>

#include "orvcore/filters/filterlist.h"
#include "orvcore/filters/jpegfilter.h"
#include "zorbase/text.h"

namespace {

std::string CountsText(const JpegHuffmanTable& table) {
    std::string text;
    for (const std::uint8_t count : table.counts) text += (text.empty() ? "" : " ") + ToString(int{count});
    return text;
}

std::string SymbolsText(const JpegHuffmanTable& table) {
    std::string text;
    char digits[8];
    for (const std::uint8_t symbol : table.symbols) {
        std::snprintf(digits, sizeof digits, "%s%02X", text.empty() ? "" : " ", symbol);
        text += digits;
    }
    return text;
}

class HuffmanTablesFilter : public OrvJpegFilter {
  public:
    HuffmanTablesFilter();
    bool GivesVerdict() const override { return true; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
               VecParameter& output) const override;
};

HuffmanTablesFilter::HuffmanTablesFilter() : OrvJpegFilter("Huffman Tables", "huffman-tables") {
    Describe(
        "JPEG",
        "The code tables of the file: number of codes of each length, symbols, and whether they are the typical tables of the "
        "standard, other ones with a code for every symbol, or optimised: made for this picture, with codes only for what "
        "occurs in it. Most cameras write the standard's or fixed tables of their own; optimised ones come from programs, "
        "services and some cameras. Progressive files always have optimised ones, arithmetic ones none. It cannot see what wrote "
        "the file from this alone.");
    using enum ParameterType;
    SetParameters({}, {},
                  {
                      Parameter::Output(OutputString, "kind", "Tables"),
                      Parameter::Output(OutputInt64, "count", "Number Of Tables"),
                      Parameter::Output(OutputInt64, "unused", "Used By No Scan"),
                      Parameter::Output(TableString, "table", "Tables"),
                      Parameter::Output(TableString, "rows", "Rows Of One File").SetHiddenFromGui(),
                  });
}

void HuffmanTablesFilter::Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob&,
                                  OrvSlotResult& result) const {
    const auto tables = GetJpegTables(file);
    std::size_t families[4] = {};
    std::int64_t unused = 0;
    ::TableString rows;
    std::vector<std::string> findings;
    for (const HuffmanTableUse& use : tables->huffman) {
        ++families[static_cast<std::size_t>(use.family)];
        if (use.uses == 0) ++unused;
        const std::string name = (use.table.tableClass == 0 ? "DC " : "AC ") + ToString(use.table.id);
        std::string family = HuffmanFamilyText(use.family);
        if (!use.standardName.empty()) family += ", " + use.standardName;
        rows.push_back({name, family, ToString(static_cast<std::int64_t>(use.uses)),
                        ToString(static_cast<std::int64_t>(use.table.symbols.size())), CountsText(use.table),
                        ToString(static_cast<std::int64_t>(use.offset)), SymbolsText(use.table)});
        if (use.family == HuffmanFamily::Damaged && findings.size() < 20)
            findings.push_back("Table " + name + " at offset " + std::to_string(use.offset) +
                               " is no valid set of codes.");
    }
    const auto count = [&](HuffmanFamily family) { return families[static_cast<std::size_t>(family)]; };
    std::string kind = tables->isArithmetic                                       ? "None: arithmetic coding"
                       : tables->huffman.empty()                                  ? "None"
                       : count(HuffmanFamily::Standard) == tables->huffman.size() ? "Standard"
                       : count(HuffmanFamily::Optimised) > 0                      ? "Optimised"
                       : count(HuffmanFamily::Complete) > 0                       ? "Own, complete"
                                                                                  : "Damaged";
    if (count(HuffmanFamily::Optimised) > 0 && count(HuffmanFamily::Optimised) < tables->huffman.size())
        kind = "Mixed";
    result.Set("kind", kind);
    result.SetCount("count", static_cast<std::int64_t>(tables->huffman.size()));
    result.SetCount("unused", unused);
    result.Set("rows", rows);
    if (tables->huffman.empty()) return result.SayNothing("No Huffman tables");
    if (!findings.empty()) return result.Judge(OrvVerdict::WorthALook, "Damaged tables", std::move(findings));
    result.Judge(OrvVerdict::NothingFound, kind);
}

void HuffmanTablesFilter::Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
                                VecParameter& output) const {
    OrvFilter::Merge(evidence, reference, output);
    MergeRows(output, evidence, reference,
              {{"Table", "Kind", "Scans", "Codes", "Codes Of Length 1 To 16", "Offset", "Symbols"}, 1, {5}});
}

}  // namespace

std::unique_ptr<OrvFilter> MakeHuffmanTablesFilter() {
    return std::make_unique<HuffmanTablesFilter>();
}
