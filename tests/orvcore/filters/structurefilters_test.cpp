// The filters on what a file is made of: structure, pictures, tables, signature, coefficients, strings.

#include <gtest/gtest.h>

#include <algorithm>

#include "orvcore/formats/jpegtables/compressionsignature.h"
#include "orvcore/formats/jpegtables/signaturecollection.h"
#include "orvcore/tables/tablemarkup.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/text.h"

using namespace formatsupport;

namespace {

class StructureFilters : public testing::Test {
  protected:
    std::string Write(const std::string& name, const Bytes& bytes) {
        WriteFile(m_folder / name, bytes);
        return m_folder / name;
    }

    TemporaryFolder m_folder;
};

// The text of a row's cells, without mark-up; "" when no row has that first cell.
std::string RowOf(const OrvFilterResultPtr& result, const std::string& name, const char* table = "table") {
    for (const auto& row : result->output.Get<TableString>(table)) {
        std::string text;
        for (const std::string& cell : row) text += (text.empty() ? "" : "|") + Trim(ParseCell(cell).text);
        if (text.compare(0, name.size() + 1, name + "|") == 0) return text;
    }
    return {};
}

std::size_t RowCount(const OrvFilterResultPtr& result) {
    const Parameter* table = result->output.Find("table");
    return table->IsSet() ? table->Get<TableString>().size() - 1 : 0;
}

// A photograph-like picture, saved with these qualities in turn on one grid.
Bytes SavedAgain(std::vector<int> qualities) {
    cv::Mat scene(640, 640, CV_8UC1);
    std::uint32_t state = 7;
    double smooth = 0;
    for (int y = 0; y < scene.rows; ++y)
        for (int x = 0; x < scene.cols; ++x) {
            state = state * 1664525U + 1013904223U;
            smooth = 0.8 * smooth + static_cast<double>(state >> 25) - 64;
            scene.at<std::uint8_t>(y, x) = cv::saturate_cast<std::uint8_t>(
                128 + 50 * std::sin(x / 31.0) * std::cos(y / 23.0) + 0.35 * smooth);
        }
    Image image(scene);
    Bytes bytes;
    for (const int quality : qualities) {
        bytes = EncodeImage(image, "jpg", quality);
        image = DecodeImage(bytes).image;
    }
    return bytes;
}

}  // namespace

TEST_F(StructureFilters, StructureListsPartsAndComparesTwoFiles) {
    const auto filter = MakeFilter("file-structure");
    ASSERT_TRUE(filter);
    const Bytes jpeg = MakeJpeg({.comment = "one"});
    const std::string evidence = Write("a.jpg", jpeg + Bytes(10, 7));
    const OrvFilterResultPtr alone = RunFilter(*filter, evidence);
    EXPECT_EQ(RowOf(alone, "trailing data"),
              "trailing data|" + std::to_string(jpeg.size()) +
                  "|10|bytes of value 07|10 bytes follow the end of the picture.");
    EXPECT_EQ(OutputOf(alone, "trailing"), "10");
    EXPECT_EQ(alone->slot[OrvEvidence]->verdict, OrvVerdict::WorthALook);

    // Nothing but zeros hides nothing: told in its row, and no finding.
    const OrvFilterResultPtr padded = RunFilter(*filter, Write("padded.jpg", jpeg + Bytes(10, 0)));
    EXPECT_NE(RowOf(padded, "trailing data").find("|10|zero bytes|10 bytes follow"), std::string::npos);
    EXPECT_EQ(padded->slot[OrvEvidence]->verdict, OrvVerdict::NothingFound);

    const OrvFilterResultPtr both =
        RunFilter(*filter, evidence, Write("b.jpg", MakeJpeg({.comment = "two"})));
    EXPECT_NE(RowOf(both, "COM").find("|one|two|"), std::string::npos) << RowOf(both, "COM");
    EXPECT_EQ(both->slot[OrvReference]->verdict, OrvVerdict::NothingFound);

    VecParameter input = filter->GetInputPrototype();
    input.Find("show")->SetValue(2);
    EXPECT_EQ(RowCount(RunFilter(*filter, evidence, {}, &input)), 1U);
    input.Find("show")->SetValue(0);
    input.Find("hashes")->SetValue(true);
    const std::string row = RowOf(RunFilter(*filter, evidence, {}, &input), "COM");
    EXPECT_EQ(row.substr(row.rfind('|') + 1).size(), 16U);
}

TEST_F(StructureFilters, EveryPictureInTheFileCanBeShown) {
    const auto filter = MakeFilter("pictures-in-file");
    const std::string path = Write(
        "two.jpg", MakeJpeg({.width = 64, .height = 40}) + MakeJpeg({.width = 24, .height = 16, .seed = 3}));
    VecParameter input = filter->GetInputPrototype();
    const OrvFilterResultPtr first = RunFilter(*filter, path);
    EXPECT_EQ(RowCount(first), 2U);
    EXPECT_EQ(OutputOf(first, "analysed"), "Number 1 of 2, 64 x 40");
    EXPECT_EQ(first->GetPicture(OrvEvidence).GetMat().size(), cv::Size(64, 40));
    input.Find("number")->SetValue(2);
    const OrvFilterResultPtr second = RunFilter(*filter, path, {}, &input);
    EXPECT_EQ(second->GetPicture(OrvEvidence).GetMat().size(), cv::Size(24, 16));
    EXPECT_EQ(OutputOf(second, "shown"), "further picture, 24 x 16");
    input.Find("number")->SetValue(3);
    EXPECT_EQ(OutputOf(RunFilter(*filter, path, {}, &input), "shown"), "There is no number 3");
}

TEST_F(StructureFilters, TablesAndWhereTheyComeFrom) {
    const std::string standard = Write("standard.jpg", MakeJpeg({.quality = 80}));
    const std::string optimised = Write("optimised.jpg", MakeJpeg({.quality = 60, .optimised = true}));
    const OrvFilterResultPtr tables = RunFilter(*MakeFilter("quantization-tables"), standard, optimised);
    EXPECT_EQ(OutputOf(tables, "luminance"), "standard (luminance), quality 80");
    EXPECT_EQ(OutputOf(tables, "luminance", true), "standard (luminance), quality 60");
    EXPECT_EQ(OutputOf(tables, "subsampling"), "4:2:0");
    EXPECT_EQ(tables->output.Get<QuantizationTables>("tables").size(), 2U);
    EXPECT_EQ(RowCount(tables), 2U);

    const OrvFilterResultPtr codes = RunFilter(*MakeFilter("huffman-tables"), standard, optimised);
    EXPECT_EQ(OutputOf(codes, "kind"), "Standard");
    EXPECT_EQ(OutputOf(codes, "kind", true), "Optimised");
    EXPECT_NE(RowOf(codes, "AC 0").find("standard, luminance AC|optimised"), std::string::npos);
    WriteImage(Image(cv::Mat(8, 8, CV_8UC1, cv::Scalar(3))), m_folder / "none.png");
    const OrvFilterResultPtr none = RunFilter(*MakeFilter("huffman-tables"), m_folder / "none.png");
    EXPECT_EQ(none->slot[OrvEvidence]->verdictText, "Not a JPEG");
}

TEST_F(StructureFilters, SignatureIsLookedUpInTheCollection) {
    const auto filter = MakeFilter("compression-signature");
    const Bytes jpeg = MakeJpeg({.quality = 80});
    const std::string path = Write("a.jpg", jpeg);
    VecParameter input = filter->GetInputPrototype();
    const ScopedVariable documents("ORVANE_DOCUMENTS", (m_folder / "documents").c_str());
    EXPECT_EQ(OutputOf(RunFilter(*filter, path), "writers"), "No signatures have been collected yet");
    const std::string collection = m_folder / "known.db";
    input.Find("collection")->SetValue(collection);
    EXPECT_EQ(OutputOf(RunFilter(*filter, path, {}, &input), "writers"),
              "There is no such collection: " + collection);
    EXPECT_FALSE(FileExists(collection));
    const CompressionSignature signature = ReadCompressionSignature(jpeg);
    SignatureCollection(collection)
        .Add({{signature.key, SignatureText(signature), "Maker", "Model", "2.1", 4}});
    EXPECT_EQ(OutputOf(RunFilter(*filter, path, {}, &input), "writers"), "Maker Model, 2.1 (4 pictures)");
    const std::string other = Write("b.jpg", MakeJpeg({.quality = 81}));
    const OrvFilterResultPtr result = RunFilter(*filter, other, path, &input);
    EXPECT_EQ(OutputOf(result, "writers"), "Nothing in the collection writes like this");
    EXPECT_EQ(RowOf(result, "Scans", "numbers"), "Scans|1|1");
}

TEST_F(StructureFilters, CoefficientsTellOfAnEarlierSaving) {
    const std::string once = Write("once.jpg", SavedAgain({90}));
    const std::string twice = Write("twice.jpg", SavedAgain({60, 90}));
    const OrvFilterResultPtr histograms = RunFilter(*MakeFilter("dct-histograms"), twice, once);
    const OrvSlotResult& found = *histograms->slot[OrvEvidence];
    EXPECT_EQ(found.verdict, OrvVerdict::WorthALook) << found.verdictText;
    EXPECT_EQ(histograms->slot[OrvReference]->verdict, OrvVerdict::NothingFound)
        << histograms->slot[OrvReference]->verdictText;
    EXPECT_EQ(found.plot.counts.size(), 81U);
    EXPECT_FALSE(found.plot.marks[0].empty());
    EXPECT_EQ(OutputOf(histograms, "step"), "2");
    // Step 9 at quality 60 and step 2 at quality 90.
    EXPECT_NEAR(std::stod(OutputOf(histograms, "period")), 4.5, 0.1);

    const OrvFilterResultPtr digits = RunFilter(*MakeFilter("first-digit-law"), twice, once);
    EXPECT_EQ(digits->slot[OrvEvidence]->verdict, OrvVerdict::WorthALook)
        << digits->slot[OrvEvidence]->verdictText;
    EXPECT_EQ(digits->slot[OrvReference]->verdict, OrvVerdict::NothingFound)
        << digits->slot[OrvReference]->verdictText;
    EXPECT_EQ(digits->slot[OrvEvidence]->plot.counts.size(), 9U);
}

TEST_F(StructureFilters, StringsAreFoundWithTheirPart) {
    const auto filter = MakeFilter("strings");
    Bytes jpeg = MakeJpeg({.comment = "written by Painter 3"});
    const std::string path = Write("a.jpg", jpeg + ToBytes("tail text here"));
    VecParameter input = filter->GetInputPrototype();
    const OrvFilterResultPtr result = RunFilter(*filter, path);
    EXPECT_NE(RowOf(result, "written by Painter 3").find("|8 bit|COM"), std::string::npos);
    EXPECT_NE(RowOf(result, "tail text here").find("|trailing data"), std::string::npos);
    input.Find("search")->SetValue(std::string("PAINTER"));
    EXPECT_EQ(OutputOf(RunFilter(*filter, path, {}, &input), "count"), "1");
}

// Files that their cameras wrote: how often the two tests on coefficients fire on them.
TEST_F(StructureFilters, CamerasFilesStayBelowTheThresholds) {
    NEED_FIXTURES();
    for (const char* id : {"dct-histograms", "first-digit-law"}) {
        const auto filter = MakeFilter(id);
        int judged = 0;
        for (const std::string& path : FilesBelow(Fixtures() + "/untouched")) {
            if (path.find(".tsv") != std::string::npos || path.find(".md") != std::string::npos) continue;
            const OrvFilterResultPtr result = RunFilter(*filter, path);
            const OrvVerdict verdict = result->slot[OrvEvidence]->verdict;
            if (verdict == OrvVerdict::NotApplicable) continue;
            ++judged;
            EXPECT_EQ(verdict, OrvVerdict::NothingFound)
                << id << " on " << path << ": " << result->slot[OrvEvidence]->verdictText;
        }
        EXPECT_GE(judged, 30) << id;
    }
}

// Photographs saved twice on one grid: told where the second quality was the higher one, as the method's limits say.
TEST_F(StructureFilters, KnownHistoriesAreTold) {
    NEED_FIXTURES();
    const struct {
        const char* history;
        OrvVerdict verdict;
    } cases[] = {
        {"single_q60", OrvVerdict::NothingFound},
        {"single_q90", OrvVerdict::NothingFound},
        {"single_q95", OrvVerdict::NothingFound},
        {"double_85_85_aligned", OrvVerdict::NothingFound},
        {"double_90_60_aligned", OrvVerdict::NothingFound},
        {"double_95_75_aligned", OrvVerdict::NothingFound},
        {"double_50_90_aligned", OrvVerdict::WorthALook},
        {"double_60_95_aligned", OrvVerdict::WorthALook},
        {"double_70_90_aligned", OrvVerdict::WorthALook},
        {"double_75_95_aligned", OrvVerdict::WorthALook},
        {"double_80_90_aligned", OrvVerdict::WorthALook},
    };
    for (const char* id : {"dct-histograms", "first-digit-law"})
        for (const auto& c : cases) {
            const std::string path = Fixtures() + "/synth/doublejpeg/00_coffee_" + c.history + ".jpg";
            const OrvFilterResultPtr result = RunFilter(*MakeFilter(id), path);
            EXPECT_EQ(result->slot[OrvEvidence]->verdict, c.verdict)
                << id << " on " << c.history << ": " << result->slot[OrvEvidence]->verdictText;
        }
}
