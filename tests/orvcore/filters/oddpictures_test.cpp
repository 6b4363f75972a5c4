// Every filter of the program on pictures that are unlike a photograph, and with its parameters at both ends: there is an answer, or a
// reason why there is none, no map that says nothing, and the same as was kept (see DigestOf).

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "tests/orvcore/filters/resultdigest.h"
#include "tests/support/jpegencoder.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

struct OddFile {
    std::string name;
    Bytes bytes;
};

struct JpegKind {
    int components = 3;  // or 4: inks
    int horizontal = 2;  // sampling of the first component
    int vertical = 2;
    int ofColour = 1;  // of the others, both ways
    bool isProgressive = false;
    bool isArithmetic = false;
    bool hasAdobe = false;  // the marker of that name, which says what four components are
    int restartRows = 0;
};

// Colour to colour, or, for inks, blue, green, red and alpha taken as they are.
Bytes Jpeg(const cv::Mat& picture, const JpegKind& kind) {
    JpegEncoder encoder(picture.cols, picture.rows, kind.components,
                        kind.components == 4 ? JCS_CMYK : JCS_EXT_BGR, 85, false);
    jpeg_compress_struct& info = encoder.Info();
    encoder.SetLuminanceSampling(kind.horizontal, kind.vertical);
    for (int i = 1; i < kind.components; ++i)
        info.comp_info[i].h_samp_factor = info.comp_info[i].v_samp_factor = kind.ofColour;
    if (kind.components == 4) info.write_Adobe_marker = kind.hasAdobe ? TRUE : FALSE;
    info.arith_code = kind.isArithmetic ? TRUE : FALSE;
    info.restart_in_rows = kind.restartRows;
    if (kind.isProgressive) jpeg_simple_progression(&info);
    cv::Mat source = picture;
    if (kind.components == 4) cv::cvtColor(picture, source, cv::COLOR_BGR2BGRA);
    encoder.Start();
    return encoder.WriteRows([&source](int y) { return source.ptr<std::uint8_t>(y); });
}

Bytes Png(const cv::Mat& picture) {
    return EncodeImage(Image(picture), "png");
}

Bytes Tiff(const cv::Mat& picture) {
    return EncodeImage(Image(picture), "tif");
}

cv::Mat Filled(cv::Size size, const cv::Scalar& colour) {
    return {size, CV_8UC3, colour};
}

cv::Mat PureNoise(cv::Size size) {
    cv::Mat noise(size, CV_8UC3);
    SeededRandom(3).fill(noise, cv::RNG::UNIFORM, 0, 256);
    return noise;
}

// A photograph of 256 x 256 pixels that was never saved as JPEG.
cv::Mat Leaves() {
    return DecodeImage(ReadFileBytes(PathJoin(GetAppDataPath(), "selftest/leaves.png"))).image.GetMat();
}

Bytes CutTo(Bytes bytes, double part) {
    bytes.resize(static_cast<std::size_t>(static_cast<double>(bytes.size()) * part));
    return bytes;
}

// The first component's table under another number, or missing under any.
Bytes WithoutTableZero(Bytes jpeg, bool isNamed) {
    for (std::size_t at = 2; at + 4 < jpeg.size() && jpeg[at] == 0xFF && jpeg[at + 1] != 0xDA;) {
        const std::size_t length = static_cast<std::size_t>(jpeg[at + 2]) << 8 | jpeg[at + 3];
        if (jpeg[at + 1] == 0xDB && (jpeg[at + 4] & 0x0F) == 0) jpeg[at + 4] |= 0x02;
        if (jpeg[at + 1] == 0xC0 && isNamed) jpeg[at + 12] = 2;
        at += 2 + length;
    }
    return jpeg;
}

std::vector<OddFile> OddFiles() {
    const cv::Mat photo = Leaves()(cv::Rect(11, 37, 240, 176)).clone();
    const cv::Mat tall = Leaves()(cv::Rect(3, 9, 149, 203)).clone();
    cv::Mat grey;
    cv::cvtColor(Leaves().colRange(16, 147), grey, cv::COLOR_BGR2GRAY);
    cv::Mat deep;
    photo.convertTo(deep, CV_16U, 251.0, 7.0);
    cv::Mat transparent;
    cv::cvtColor(photo, transparent, cv::COLOR_BGR2BGRA);
    transparent.forEach<cv::Vec4b>([](cv::Vec4b& pixel, const int*) { pixel[3] = 0; });
    cv::Mat halfWhite = photo.clone();
    halfWhite(cv::Rect(120, 0, 120, 176)).setTo(cv::Scalar::all(255));
    cv::Mat wide;
    cv::resize(photo, wide, {6000, 30});
    const auto with = [&photo](const JpegKind& kind) { return Jpeg(photo, kind); };
    const Bytes jpeg = with({});
    return {
        {"pixel.png", Png(photo(cv::Rect(7, 7, 1, 1)))},
        {"pixel.jpg", SaveJpeg(photo(cv::Rect(7, 7, 1, 1)).clone(), 90)},
        {"smaller than a block.png", Png(photo(cv::Rect(20, 20, 7, 5)))},
        {"smaller than a block.jpg", SaveJpeg(photo(cv::Rect(20, 20, 7, 5)).clone(), 90)},
        {"row.png", Png(photo.row(20))},
        {"column.jpg", SaveJpeg(photo.col(20).clone(), 90)},
        {"narrow.jpg", SaveJpeg(tall.colRange(20, 29).clone(), 90)},
        {"narrow.png", Png(tall.colRange(20, 29))},
        {"low.png", Png(photo.rowRange(20, 29))},
        {"wide.png", Png(wide)},
        {"grey.jpg", SaveJpeg(grey, 60)},
        {"grey.png", Png(grey)},
        {"tall.jpg", SaveJpeg(tall, 75)},
        {"tall.png", Png(ThroughJpeg(tall, 70))},
        {"one colour.png", Png(Filled({300, 280}, {90, 120, 150}))},
        {"one colour.jpg", SaveJpeg(Filled({300, 280}, {90, 120, 150}), 90)},
        {"white.png", Png(Filled({300, 280}, cv::Scalar::all(255)))},
        {"white.jpg", SaveJpeg(Filled({300, 280}, cv::Scalar::all(255)), 90)},
        {"black.jpg", SaveJpeg(Filled({300, 280}, cv::Scalar::all(0)), 90)},
        {"half white.png", Png(halfWhite)},
        {"16 bits.png", Png(deep)},
        {"16 bits.tif", Tiff(deep)},
        {"transparent.png", Png(transparent)},
        {"noise.png", Png(PureNoise({300, 280}))},
        {"noise.jpg", SaveJpeg(PureNoise({300, 280}), 90)},
        {"text.png", Png(TakePhoto({}, SceneKind::TextPage, {300, 280}, 1))},
        {"bricks.jpg", SaveJpeg(TakePhoto({}, SceneKind::Bricks, {300, 280}, 1), 90)},
        {"4 to 1 to 1.jpg", with({.horizontal = 4, .vertical = 1})},
        {"4 to 4 to 0.jpg", with({.horizontal = 1})},
        {"2 by 4.jpg", with({.vertical = 4})},
        {"3 by 1.jpg", with({.horizontal = 3, .vertical = 1})},
        {"less luminance.jpg", with({.horizontal = 1, .vertical = 1, .ofColour = 2})},
        {"progressive.jpg", with({.isProgressive = true})},
        {"arithmetic.jpg", with({.isArithmetic = true})},
        {"restarts.jpg", with({.restartRows = 1})},
        {"four inks.jpg", with({.components = 4, .horizontal = 1, .vertical = 1})},
        {"four inks inverted.jpg", with({.components = 4, .horizontal = 1, .vertical = 1, .hasAdobe = true})},
        {"table 2 of luminance.jpg", WithoutTableZero(jpeg, true)},
        {"no table of luminance.jpg", WithoutTableZero(jpeg, false)},
        {"cut.jpg", CutTo(jpeg, 0.5)},
        {"cut in the head.jpg", CutTo(jpeg, 0.02)},
        {"cut progressive.jpg", CutTo(with({.isProgressive = true}), 0.3)},
        {"cut.png", CutTo(Png(photo), 0.5)},
        {"edited.jpg", ReadFileBytes(PathJoin(GetAppDataPath(), "samples/coffee-edited.jpg"))},
        {"turned copy.png", Png(CopyMove(photo, {20, 30, 96, 80}, {170, 110}, 12.0, 1.15).image)},
        {"no picture.jpg", Bytes(40, 'a')},
        {"empty.jpg", Bytes()}};
}

// How many of the values of a map say something.
int CountKnown(const OrvMap& map) {
    int known = 0;
    for (int y = 0; y < map.values.rows; ++y)
        for (int x = 0; x < map.values.cols; ++x) {
            if (!map.mask.empty() && map.mask.at<std::uint8_t>(y, x) != 0) continue;
            if (map.values.type() == CV_32FC1 && !std::isfinite(map.values.at<float>(y, x))) continue;
            ++known;
        }
    return known;
}

void CheckAnswer(const OrvFilter& filter, const OrvFilterResultPtr& result) {
    const OrvSlotResult& slot = *result->slot[OrvEvidence];
    const bool isOdd = slot.verdict == OrvVerdict::WorthALook || slot.verdict == OrvVerdict::StrongSign;
    EXPECT_EQ(slot.status == FilterStatus::StandsOut, isOdd);
    EXPECT_EQ(!slot.findings.empty(), isOdd) << "findings and status go together";
    EXPECT_EQ(slot.verdict == OrvVerdict::None, slot.verdictText.empty());
    if (!slot.SaysNothing()) {
        EXPECT_EQ(slot.verdict != OrvVerdict::None, filter.GivesVerdict());
    }
    for (const OrvMap& map : slot.maps) {
        EXPECT_EQ(DescribeMapFault(map), "");
        if (slot.SaysNothing() || map.values.empty()) continue;
        EXPECT_GT(CountKnown(map), 0) << map.name << " says nothing, and nobody says why";
    }
    for (const std::vector<float>& curve : slot.plot.curves) EXPECT_EQ(curve.size(), slot.plot.x.size());
    if (filter.ListsPictures()) {
        // The list is there all the same; why none of it is shown stands beside it.
        EXPECT_TRUE(slot.SaysNothing() || !OutputOf(result, "shown").empty());
    } else if (filter.GetPageKind() == OrvPageKind::ImageDouble && !slot.SaysNothing()) {
        EXPECT_TRUE(result->GetPicture(OrvEvidence).IsValid());
    }
    if (filter.GetPageKind() == OrvPageKind::Plot && !slot.SaysNothing()) {
        EXPECT_FALSE(slot.plot.IsEmpty()) << "an empty plot, and nobody says why";
    }
}

// What it says, or why it does not.
std::string AnswerOn(const OrvFilter& filter, const std::string& path) {
    try {
        const OrvFilterResultPtr result = RunFilter(filter, path);
        CheckAnswer(filter, result);
        return DigestOf(*result, PathFolder(path));
    } catch (const ZorException& exception) {
        EXPECT_EQ(exception.GetKind(), ZorException::Kind::Format) << exception.GetMessage();
        return "refused " + exception.GetMessage();
    }
}

// Every parameter alone at its least and its greatest, then all together.
std::vector<VecParameter> AtTheEnds(const VecParameter& prototype) {
    std::vector<VecParameter> all;
    const auto setTo = [](Parameter& option, bool isHigh) {
        switch (option.Type()) {
            case ParameterType::Bool:
                return option.SetValue(isHigh);
            case ParameterType::Choice:
            case ParameterType::ChoiceList:
                return option.SetValue(isHigh ? static_cast<int>(option.Strings().size()) - 1 : 0);
            case ParameterType::Int:
            case ParameterType::IntSlider:
            case ParameterType::IntSpin:
            case ParameterType::IntRange:
                return option.SetValue(static_cast<int>(isHigh ? option.GetMaximum() : option.GetMinimum()));
            case ParameterType::Int64:
                return option.SetValue(
                    static_cast<std::int64_t>(isHigh ? option.GetMaximum() : option.GetMinimum()));
            case ParameterType::Double:
                return option.SetValue(isHigh ? option.GetMaximum() : option.GetMinimum());
            case ParameterType::Roi:
            case ParameterType::OrvRoi:
                return option.SetValue(isHigh ? Roi(-50, -70, 1000000, 900000) : Roi(3, 4, 1, 1));
            case ParameterType::String:
                return option.SetValue(isHigh ? std::string(2000, 'x') : std::string());
            default:
                return false;  // a file
        }
    };
    for (const bool isHigh : {false, true}) {
        VecParameter together = prototype;
        for (std::size_t i = 0; i < prototype.size(); ++i) {
            VecParameter one = prototype;
            if (!setTo(one[i], isHigh)) continue;
            setTo(together[i], isHigh);
            all.push_back(std::move(one));
        }
        all.push_back(std::move(together));
    }
    return all;
}

}  // namespace

TEST(OddPictures, EveryFilterAnswersOrSaysWhyNot) {
    const TemporaryFolder folder;
    const std::vector<OddFile> files = OddFiles();
    KeptResults kept("odd ");
    for (const OddFile& file : files) WriteFile(folder / file.name, file.bytes);
    for (const auto& filter : CreateAllFilters())
        for (const OddFile& file : files) {
            SCOPED_TRACE(filter->GetId() + " on " + file.name);
            kept.Check("odd " + filter->GetId() + " " + file.name, AnswerOn(*filter, folder / file.name));
        }
}

// Its blocks are of 16 x 16 decoded pixels: whoever looks for edges, steps or grids of eight finds what is not there.
TEST(OddPictures, NothingIsSaidOfTheBlocksOfALuminanceThatIsStoredSmaller) {
    const TemporaryFolder folder;
    const cv::Mat photo = TakePhoto(OrdinaryCamera(5), SceneKind::Textured, {240, 176}, 5);
    WriteFile(folder / "less.jpg", Jpeg(photo, {.horizontal = 1, .vertical = 1, .ofColour = 2}));
    WriteFile(folder / "usual.jpg", Jpeg(photo, {}));
    for (const char* id :
         {"grid-votes", "block-artefacts", "double-jpeg-shifted", "jpeg-ghosts", "jpeg-quality-curve"}) {
        const auto filter = MakeFilter(id);
        const auto whyNot = [&](const char* name) {
            return filter->WhyNot(*LoadForTest(folder / name), filter->GetInputPrototype());
        };
        EXPECT_NE(whyNot("less.jpg"), "") << id;
        EXPECT_EQ(whyNot("usual.jpg"), "") << id;
    }
}

TEST(OddPictures, EveryFilterTakesItsParametersAtBothEnds) {
    const TemporaryFolder folder;
    KeptResults kept("ends ");
    cv::Mat photo;
    cv::resize(Leaves(), photo, {300, 264});
    WriteFile(folder / "photo.jpg", SaveJpeg(photo, 88, PhotoSubsampling::Both));
    WriteFile(folder / "pixel.png", Png(photo(cv::Rect(7, 7, 1, 1))));
    for (const auto& filter : CreateAllFilters()) {
        const VecParameter input = filter->GetInputPrototype();
        const VecParameter post = filter->GetPostProcessingPrototype();
        for (const char* name : {"photo.jpg", "pixel.png"}) {
            SCOPED_TRACE(filter->GetId() + " on " + name);
            int number = 0;
            const auto check = [&](const VecParameter& first, const VecParameter& second) {
                SCOPED_TRACE(JsonToText(first.ToJson(), 0) + JsonToText(second.ToJson(), 0));
                const OrvFilterResultPtr result = RunFilter(*filter, folder / name, {}, &first, &second);
                CheckAnswer(*filter, result);
                if (result->slot[OrvEvidence]->SaysNothing()) return;
                kept.Check("ends " + filter->GetId() + " " + name + " " + ToString(++number),
                           DigestOf(*result, folder.Path()));
            };
            for (const VecParameter& ends : AtTheEnds(input)) check(ends, post);
            for (const VecParameter& ends : AtTheEnds(post)) check(input, ends);
        }
    }
}
