// A filter with a map, a plot and a table, as one is added to the program: this file but for the tests is all of it, and one row
// in the list of filters.

#include <gtest/gtest.h>

#include "orvcore/analysis/parallel.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filter/mapimage.h"
#include "tests/support/runfilter.h"
#include "tests/support/testcore.h"
#include "zorbase/progress.h"

namespace {

constexpr int kSide = 8;
constexpr double kLevelsApart = 60.0;

// The mean level of each block of 8 x 8 pixels.
class BlockMeanFilter : public OrvFilterImage {
  public:
    BlockMeanFilter() : OrvFilterImage("Block Means", "block-means") {
        Describe("Looking", "The mean level of each block of 8 x 8 pixels. It cannot see anything smaller.");
        SetParameters({Parameter::Bool("grid", "From The Second Pixel On", false)}, {},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Numbers"),
                       Parameter::Output(ParameterType::OutputString, "kind", "Kind")});
    }
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        const ImageInfo& info = file.GetInfo();
        return info.width <= kSide || info.height <= kSide ? "Smaller than one block" : "";
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const cv::Mat grey = Image(GetEightBits(file, job)).ToGray().GetMat();
        const int begin = input.Get<bool>("grid") ? 1 : 0;
        OrvMap map;
        map.name = "Mean Level";
        map.unit = "levels";
        map.block = {kSide, kSide};
        map.origin = {begin, begin};
        map.floor = {0.0, 100.0};
        map.values.create((grey.rows - begin) / kSide, (grey.cols - begin) / kSide, CV_32F);
        ForEachStrip(map.values.rows, 16, job.Part(), [&](int first, int end) {
            for (int row = first; row < end; ++row)
                for (int column = 0; column < map.values.cols; ++column)
                    map.values.at<float>(row, column) = static_cast<float>(cv::mean(
                        grey(cv::Rect(begin + column * kSide, begin + row * kSide, kSide, kSide)))[0]);
        });
        double low = 0;
        double high = 0;
        cv::minMaxLoc(map.values, &low, &high);
        result.plot.layerCount = 1;
        result.plot.curves.resize(1);
        for (int column = 0; column < map.values.cols; ++column) {
            result.plot.x.push_back(static_cast<float>(column));
            result.plot.curves[0].push_back(map.values.at<float>(0, column));
        }
        result.AddNumber("Lowest (levels)", FixedText(low, 1));
        result.AddNumber("Highest (levels)", FixedText(high, 1));
        result.Set("kind", grey.isContinuous() ? "one piece" : "rows");
        result.AddMap(std::move(map));
        const OrvMeasurement spread{"spread", high - low, kLevelsApart, 0, "levels", 0.031};
        if (high - low > kLevelsApart)
            result.Judge(OrvVerdict::WorthALook, "Bright and dark blocks", spread);
        else
            result.Judge(OrvVerdict::NothingFound, "Even", spread);
    }
};

std::string WriteGrey(const TemporaryFolder& folder, const char* name, const cv::Mat& mat) {
    WriteImage(Image(mat), folder / name);
    return folder / name;
}

// Left half dark, right half bright.
cv::Mat TwoHalves(int dark, int bright) {
    cv::Mat mat(17, 33, CV_8U, cv::Scalar(dark));
    mat(cv::Rect(16, 0, 17, 17)).setTo(bright);
    return mat;
}

}  // namespace

TEST(ExampleFilter, MapPlotTableAndVerdictComeFromOneSourceFile) {
    const TemporaryFolder folder;
    const std::string even = WriteGrey(folder, "even.png", TwoHalves(50, 60));
    const std::string odd = WriteGrey(folder, "odd.png", TwoHalves(40, 200));
    const OrvFilterResultPtr result = RunFilter(BlockMeanFilter(), even, odd);

    const OrvSlotResult& evidence = *result->slot[OrvEvidence];
    EXPECT_EQ(evidence.verdictText,
              "Even (spread 10 levels, threshold 60 levels; 3.1 % of untouched pictures lie beyond it)");
    EXPECT_EQ(evidence.status, FilterStatus::Processed);
    EXPECT_TRUE(evidence.findings.empty());
    const OrvSlotResult& reference = *result->slot[OrvReference];
    EXPECT_EQ(reference.verdict, OrvVerdict::WorthALook);
    EXPECT_EQ(reference.status, FilterStatus::StandsOut);
    EXPECT_EQ(reference.findings.size(), 1U) << "what stands out says so in a sentence";
    EXPECT_EQ(result->status, FilterStatus::StandsOut);

    EXPECT_EQ(result->output.Get<TableString>("numbers"),
              (TableString{{"Quantity", "Evidence", "Reference"},
                           {"Lowest (levels)", "50.0", "40.0"},
                           {"Highest (levels)", "60.0", "200.0"}}));
    EXPECT_EQ(evidence.plot.curves[0], (std::vector<float>{50, 50, 60, 60}));

    // Both files are drawn over one range: the calm one looks calm.
    ASSERT_EQ(result->GetMaps(OrvEvidence).size(), 1U);
    EXPECT_EQ(evidence.maps[0].range, (OrvRange{0, 100})) << "the floor";
    EXPECT_EQ(result->GetMaps(OrvEvidence)[0].range, (OrvRange{0, 200})) << "the other file's reach";
    EXPECT_EQ(result->GetMaps(OrvReference)[0].range, (OrvRange{0, 200}));
    const cv::Mat picture = result->GetPicture(OrvEvidence).GetMat();
    ASSERT_EQ(picture.size(), cv::Size(33, 17));
    const MapColour colour = ColoursOfScale(OrvMapScale::Sequential)[76];  // 60 of 200
    EXPECT_EQ(picture.at<cv::Vec3b>(15, 31), cv::Vec3b(colour[0], colour[1], colour[2]));
    EXPECT_EQ(picture.at<cv::Vec3b>(16, 32), cv::Vec3b(150, 150, 150)) << "no whole block is left";
    EXPECT_TRUE(evidence.inputImage.IsValid());

    const OrvFilterResultPtr alone = RunFilter(BlockMeanFilter(), {}, odd);
    EXPECT_EQ(
        alone->output.Get<TableString>("numbers"),
        (TableString{{"Quantity", "Reference"}, {"Lowest (levels)", "40.0"}, {"Highest (levels)", "200.0"}}));
}

TEST(ExampleFilter, WhyItSaysNothingIsNoFailure) {
    const TemporaryFolder folder;
    const OrvFilterResultPtr result =
        RunFilter(BlockMeanFilter(), WriteGrey(folder, "small.png", cv::Mat(8, 40, CV_8U, cv::Scalar(9))));
    const OrvSlotResult& slot = *result->slot[OrvEvidence];
    EXPECT_EQ(slot.verdict, OrvVerdict::NotApplicable);
    EXPECT_EQ(slot.verdictText, "Smaller than one block");
    EXPECT_EQ(slot.status, FilterStatus::Processed);
    EXPECT_TRUE(slot.maps.empty());
    EXPECT_FALSE(result->GetPicture(OrvEvidence).IsValid());
}

TEST(ExampleFilter, AWrongOutputNameOrTypeIsAnError) {
    OrvSlotResult result;
    result.output = {Parameter::Output(ParameterType::OutputString, "text", "Text"),
                     Parameter::Output(ParameterType::OutputInt64, "count", "Count")};
    result.Set("text", "good");
    result.SetCount("count", 3);
    EXPECT_THROW(result.Set("txt", "bad"), ZorException);
    EXPECT_THROW(result.Set("count", "bad"), ZorException);
    EXPECT_THROW(result.AddNumber("Label", "1"), ZorException) << "there is no table of numbers";
    EXPECT_THROW(result.AddMap(OrvMap()), ZorException);
}

TEST(ExampleFilter, ProgressRunsOnceFromBeginningToEnd) {
    class Probe : public OrvFilterImage {
      public:
        Probe() : OrvFilterImage("Probe", "probe") {}
        mutable std::vector<double> seen;

      protected:
        void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                     OrvSlotResult& result) const override {
            for (const double done : {0.0, 1.0}) {
                file.GetDecoded(job);  // done before
                job.SetProgress(done);
                seen.push_back(acvGetProgress());
            }
            result.outputImage = file.GetDecoded(job)->image;
        }
    };
    const TemporaryFolder folder;
    const std::string a = WriteGrey(folder, "a.png", TwoHalves(1, 2));
    const std::string b = WriteGrey(folder, "b.png", TwoHalves(1, 3));
    const Probe probe;
    const OrvFilterResultPtr result = RunFilter(probe, a, b);
    EXPECT_EQ(probe.seen, (std::vector<double>{0.125, 0.5, 0.625, 1.0}))
        << "decoding has a quarter of each file's half";
    probe.seen.clear();
    OrvFilterResult again;
    again.file[OrvReference] = result->file[OrvReference];
    probe.Run(again, {}, OrvJob(), nullptr);
    EXPECT_EQ(probe.seen, (std::vector<double>{0.0, 1.0})) << "a picture that is there takes no share";
}
