#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"
#include "orvcore/filters/jpegfilter.h"
#include "zorbase/text.h"

namespace {

std::string ComponentsText(const std::vector<int>& components) {
    std::string text;
    for (const int id : components) text += (text.empty() ? "" : ", ") + ToString(id);
    return text.empty() ? "no component" : text;
}

std::string StateText(const QuantizationTableUse& use) {
    if (use.isRepeated) return "defined again, equal";
    if (use.isRedefined) return "defined again, different";
    if (use.components.empty()) return "not used";
    return {};
}

class QuantizationTablesFilter : public OrvJpegFilter {
  public:
    QuantizationTablesFilter();
    bool GivesVerdict() const override { return true; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
               VecParameter& output) const override;
};

QuantizationTablesFilter::QuantizationTablesFilter()
    : OrvJpegFilter("Quantization Tables", "quantization-tables") {
    Describe(
        "JPEG",
        "The tables that decided how strongly each frequency was rounded, with where they come from: the standard's example at a "
        "quality of the common JPEG library, exact; the same example under another factor or rounding; an editor's listed steps; "
        "or tables of one's own, with the nearest quality and the mean deviation from it in steps. Cameras mostly have tables of "
        "their own, most programs the library's: a camera's file with a program's tables was saved again. It cannot see: some "
        "cameras and phones use the library too, and a program can keep a camera's tables.");
    using enum ParameterType;
    SetParameters({}, {},
                  {
                      Parameter::Output(OutputString, "luminance", "Luminance Table"),
                      Parameter::Output(OutputString, "chrominance", "Chrominance Table"),
                      Parameter::Output(OutputString, "set", "The Set Is"),
                      Parameter::Output(OutputString, "subsampling", "Subsampling"),
                      Parameter::Output(OutputString, "hash", "Hash Of The Tables"),
                      Parameter::Output(OutputQuantizationTable, "tables", "Tables"),
                      Parameter::Output(TableString, "table", "Where They Come From"),
                      Parameter::Output(TableString, "rows", "Rows Of One File").SetHiddenFromGui(),
                  });
}

void QuantizationTablesFilter::Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob&,
                                       OrvSlotResult& result) const {
    const auto structure = GetJpegStructure(file);
    const auto tables = GetJpegTables(file);
    result.Set("subsampling", JpegSubsampling(structure->frame));
    if (tables->quantization.empty()) {
        result.Set("set", "There are no tables");
        return result.SayNothing("No quantization tables");
    }
    result.Set("tables", structure->quantizationTables);
    result.Set("set", tables->setText);
    result.Set("hash", QuantizationTablesHash(structure->quantizationTables));
    ::TableString rows;
    for (const QuantizationTableUse& use : tables->quantization) {
        const bool isFirst = !use.components.empty() && !structure->frame.components.empty() &&
                             use.components[0] == structure->frame.components[0].id;
        const std::string origin = QuantizationOriginText(use.origin);
        if (!use.components.empty()) result.Set(isFirst ? "luminance" : "chrominance", origin);
        rows.push_back({ToString(use.table.id), origin, ComponentsText(use.components),
                        ToString(use.table.precision), ToString(static_cast<std::int64_t>(use.offset)),
                        QuantizationTablesHash({use.table}), StateText(use)});
    }
    result.Set("rows", rows);
    std::vector<std::string> findings;
    for (const QuantizationTableUse& use : tables->quantization) {
        if (use.isRedefined && !use.isRepeated)
            findings.push_back("Table " + ToString(use.table.id) +
                               " is defined a second time with other steps.");
    }
    if (tables->setText == "standard, with different qualities")
        findings.push_back(
            "The tables are the standard's at different qualities: the writer set luminance and chrominance apart.");
    if (findings.empty()) return result.Judge(OrvVerdict::NothingFound, "Tables are " + tables->setText);
    result.Judge(OrvVerdict::WorthALook, "Unusual set of tables", std::move(findings));
}

void QuantizationTablesFilter::Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
                                     VecParameter& output) const {
    OrvFilter::Merge(evidence, reference, output);
    MergeRows(output, evidence, reference,
              {{"Table", "Origin", "Used By Component", "Bits", "Offset", "Hash", "State"}, 1, {4}});
}

}  // namespace

std::unique_ptr<OrvFilter> MakeQuantizationTablesFilter() {
    return std::make_unique<QuantizationTablesFilter>();
}
