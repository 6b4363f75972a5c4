#pragma once

#include <atomic>
#include <cmath>
#include <string>
#include <vector>

#include "orvcore/filter/filter.h"
#include "orvcore/model/job.h"
#include "zorbase/text.h"

// A filter that carries one parameter of every type code that has a control, and counts its runs. The outputs follow from the
// file's size, so that two files differ where their sizes do.
class EveryTypeFilter : public OrvFilter {
  public:
    explicit EveryTypeFilter(const std::string& id = "every-type") : OrvFilter(ToWx("Every type"), id) {
        Describe("Test", "Carries one parameter of every kind, to be looked at & to be tested.");
        SetParameters(Inputs(), {Parameter::Slider("gain", "Gain", 3, 1, 10)}, Outputs());
    }

    static VecParameter Inputs() {
        return {
            Parameter::Bool("enabled", "Enabled", true),
            Parameter::Int("count", "Count", 5, 1, 100),
            Parameter::Slider("quality", "Quality (%)", 90, 1, 100),
            Parameter::Slider("spin", "Block size (pixels)", 8, 2, 64, ParameterType::IntSpin),
            Parameter::Choice("mode", "Mode", 1, {"Fast", "Good", "Best & slowest"}),
            Parameter::Choice("list", "Colour space", 0, {"RGB", "YCbCr"}, ParameterType::ChoiceList),
            Parameter::Slider("range", "Range", 0, -50, 50, ParameterType::IntRange),
            Parameter::Int64("offset", "Offset (bytes)", 4096, 0, std::int64_t{1} << 40),
            Parameter::Double("sigma", "Sigma", 1.5, 0.1, 10),
            Parameter::String("title", "Title", "Copy & paste"),
            Parameter::Path(ParameterType::Folder, "folder", "Folder", "/tmp"),
            Parameter::Path(ParameterType::FileLoad, "file", "File", "/tmp/a.bin", "All files|*"),
            Parameter::Path(ParameterType::FileLoadImage, "picture", "Picture", "", "PNG|*.png"),
            Parameter::Path(ParameterType::FileSave, "save", "Save to", "/tmp/out.tsv", "TSV|*.tsv"),
            Parameter::Region("region", "Region", Roi(1, 2, 30, 40)),
            Parameter::Region("selection", "Selection", Roi(), ParameterType::OrvRoi),
            Parameter::Strings("names", "Names", {"one", "two"}),
            Parameter::Regions("regions", "Regions", {Roi(0, 0, 8, 8), Roi(8, 8, 16, 16)}),
        };
    }

    static VecParameter Outputs() {
        return {
            Parameter::Output(ParameterType::OutputQuantizationTable, "tables", "Quantization tables"),
            Parameter::Output(ParameterType::OutputImageResolution, "size", "Image size (pixels)"),
            Parameter::Output(ParameterType::OutputString, "digest", "SHA-256"),
            Parameter::Output(ParameterType::OutputString, "note", "Note"),
            Parameter::Output(ParameterType::OutputText, "dump", "Dump"),
            Parameter::Output(ParameterType::OutputInt64, "bytes", "File size (bytes)"),
            Parameter::Output(ParameterType::OutputDateTime, "taken", "Taken"),
            Parameter::Output(ParameterType::TableString, "fields", "Fields"),
        };
    }

    mutable std::atomic<int> runs{0};

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob&,
                 OrvSlotResult& result) const override {
        ++runs;
        const auto bytes = static_cast<std::int64_t>(file.GetBytes().size());
        QuantizationTables tables(2);
        for (int id = 0; id < 2; ++id) {
            tables[id].id = id;
            for (int i = 0; i < 64; ++i)
                tables[id].values.push_back(
                    static_cast<std::uint16_t>(2 + i * (id + 1) + (i % 9 == 0 ? bytes % 7 : 0)));
        }
        result.output.Find("tables")->SetValue(tables);
        result.output.Find("size")->SetValue(
            ImageResolution{static_cast<int>(bytes), input.Get<int>("count")});
        result.output.Find("digest")->SetValue(file.GetSha256());
        result.output.Find("note")->SetValue(std::string(
            "A note that is the same for every file, longer than the field it stands in, with <b>no mark-up</b> & more than "
            "one sentence. So that it has to be opened in full by the button beside it, which is the point of it all."));
        std::string dump;
        for (int line = 0; line < 8; ++line) {
            dump += (line > 0 ? "\n0000" : "0000") + std::to_string(line) + "0  ";
            for (int i = 0; i < 16; ++i) dump += " " + std::to_string(10 + (bytes + i) % 80);
        }
        result.output.Find("dump")->SetValue(dump);
        result.output.Find("bytes")->SetValue(bytes);
        result.output.Find("taken")->SetValue(std::string("2026-11-21 14:03:59"));
        result.output.Find("fields")->SetValue(TableString{{"Field", "#Value", "Number"},
                                                           {"Make", "Camera & Co", "12"},
                                                           {"Model", "!Edited", "1234"},
                                                           {"Lens", "?Unknown", std::to_string(bytes)}});
    }
};

// A plot filter: a histogram of three channels or a curve, with help lines and marks.
class PlotTestFilter : public OrvFilterPlot {
  public:
    explicit PlotTestFilter(const std::string& id = "plot-test") : OrvFilterPlot(ToWx("Plot test"), id) {
        Describe("Test",
                 "Shows how often each grey level occurs. The blue line is the mean & the marks are peaks.");
        SetParameters({Parameter::Bool("curve", "Curve", false)},
                      {Parameter::Choice("layer", "Channel", 0, {"Red", "Green", "Blue"})},
                      {Parameter::Output(ParameterType::OutputInt64, "peak", "Peak")});
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob&,
                 OrvSlotResult& result) const override {
        OrvPlotData& plot = result.plot;
        plot.layerCount = 3;
        plot.xLabel = "Grey level";
        plot.yLabel = "Pixels";
        plot.text = "Mean 127.5";
        const double shift = static_cast<double>(file.GetBytes().size() % 60);
        for (int i = 0; i < 256; ++i) plot.x.push_back(static_cast<float>(i));
        for (int layer = 0; layer < 3; ++layer) {
            std::vector<float> curve;
            for (int i = 0; i < 256; ++i) {
                const double d = (i - 90 - shift - 20 * layer) / 30;
                const double value = 250000 * std::exp(-d * d) + 20000 * (i % 16 == 0);
                curve.push_back(static_cast<float>(value));
                if (!input.Get<bool>("curve")) plot.counts.push_back(static_cast<unsigned long long>(value));
            }
            if (input.Get<bool>("curve")) plot.curves.push_back(curve);
        }
        plot.marks = {{64, 128}, {100000, 150000}};
        plot.helpLines = {{127.5F, 0, 127.5F, 250000}, {0, 50000, 255, 50000}};
        result.output.Find("peak")->SetValue(static_cast<std::int64_t>(90 + shift));
    }
};
