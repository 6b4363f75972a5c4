#include <algorithm>
#include <array>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/thumbnailfit.h"
#include "orvcore/filter/fileintermediates.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filter/pictureplaces.h"
#include "orvcore/filters/filterlist.h"
#include "orvcore/formats/jpegquality.h"
#include "orvcore/formats/structure/picturesinfile.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr std::size_t kMaxCompared = 24;
constexpr int kJudgedSide = 320;  // the thresholds were found at this size
constexpr int kShownSide = 640;
constexpr int kMainSide = 2560;            // room for a preview that shows a quarter of the picture
constexpr double kOtherPicture = 0.6;      // correlation below which it is another picture
constexpr double kLookDisagreement = 0.9;  // 0.70 at most on 36 untouched photographs
constexpr double kStrongDisagreement = 1.2;
constexpr double kLeastChangedShare = 0.005;
constexpr double kBeyond = 0.03;   // share of the picture's side
constexpr double kFlatSpread = 4;  // levels

cv::Mat Shrunk(const cv::Mat& picture, int side) {
    const double scale = static_cast<double>(side) / std::max(picture.cols, picture.rows);
    if (scale >= 1) return picture;
    cv::Mat small;
    cv::resize(
        picture, small,
        cv::Size(std::max(1, cvRound(picture.cols * scale)), std::max(1, cvRound(picture.rows * scale))), 0,
        0, cv::INTER_AREA);
    return small;
}

bool IsFlat(const cv::Mat& picture) {
    cv::Scalar mean;
    cv::Scalar spread;
    cv::meanStdDev(picture, mean, spread);
    return std::max({spread[0], spread[1], spread[2]}) < kFlatSpread;
}

bool ClaimsSameContent(const FilePicture& picture) {
    return picture.kind == FilePicture::Kind::Thumbnail || picture.kind == FilePicture::Kind::Preview;
}

bool IsCompared(const FilePicture& picture) {
    return ClaimsSameContent(picture) || picture.kind == FilePicture::Kind::Further;
}

std::string Dimensions(int width, int height) {
    return width > 0 && height > 0 ? ToString(width) + " x " + ToString(height) : "not told";
}

// How the main picture was brought to the small one, in words.
std::string Placement(const ThumbnailFit& fit, const cv::Size& small) {
    std::vector<std::string> parts;
    if (fit.isMirrored) parts.emplace_back("mirrored");
    if (fit.turn != 0) parts.push_back("turned by " + ToString(fit.turn) + " degrees");
    if (fit.content.size() != small) parts.emplace_back("between bars");
    const cv::Rect2d& shown = fit.shown;
    if (shown.width < 1 - kBeyond || shown.height < 1 - kBeyond)
        parts.push_back("shows " + FixedText(100 * shown.width, 0) + " % x " +
                        FixedText(100 * shown.height, 0) + " % of the picture");
    if (shown.width > 1 + kBeyond || shown.height > 1 + kBeyond)
        parts.push_back("shows more than the picture: " + FixedText(100 * shown.width, 0) + " % x " +
                        FixedText(100 * shown.height, 0) + " %");
    return parts.empty() ? "whole, as stored" : Join(parts, ", ");
}

// What became of one picture of the list.
struct Compared {
    enum class Content { NotCompared, Unreadable, Flat, Same, Parts, Other };
    Content content = Content::NotCompared;
    std::string problem;
    std::string tables;
    cv::Mat picture;  // reduced to what is shown at most
    ThumbnailFit fit;
};

class ThumbnailsFilter : public OrvFilterImage, public OrvPicturePlaces {
  public:
    ThumbnailsFilter();
    bool GivesVerdict() const override { return true; }
    int GetVersion() const override { return 2; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return IsReadableFormat(file.GetInfo().format) ? "" : "Not a picture that is read";
    }
    bool ListsPictures() const override { return true; }
    // The picture itself is brought to the small one's size too.
    bool ShowsPlaces(OrvFileId, bool) const override { return false; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
               VecParameter& output) const override;

  private:
    static Compared Compare(const OrvLoadedFile& file, const FilePicture& picture, const cv::Mat& main,
                            const OrvJob& job);
    static std::vector<std::string> Row(std::size_t number, const FilePicture& picture,
                                        const Compared& compared);
    static void Weigh(const FilePicture& picture, const Compared& compared, bool isJpeg, OrvVerdict& verdict,
                      std::vector<std::string>& findings);
    static void Show(const Compared& compared, const cv::Mat& main, OrvSlotResult& result);
};

ThumbnailsFilter::ThumbnailsFilter() : OrvFilterImage("Thumbnail And Previews", "thumbnails") {
    Describe(
        "File",
        "Every thumbnail and preview in the file beside the main picture, which is turned, cut and reduced until it fits: the map "
        "shows where they differ (a second one the embedded picture itself), the table how well they agree and which quantization "
        "tables each was saved with. Programs that change a "
        "picture often leave the thumbnail as it was: it then shows what was there before. It cannot see changes smaller than a few of "
        "the thumbnail's pixels, nor anything where the program that changed the picture also made a new thumbnail, as most do. "
        "Cameras that reduce carelessly, or stamp the date on one of the two only, differ without anybody's hand (after Kee and Farid, "
        "2010).");
    using enum ParameterType;
    SetParameters({Parameter::Int("number", "Show Number (0: the first that is compared)", 0, 0,
                                  static_cast<int>(kMaxFilePictures))},
                  {},
                  {
                      Parameter::Output(OutputInt64, "count", "Compared"),
                      Parameter::Output(OutputString, "shown", "Shown"),
                      Parameter::Output(OutputString, "content", "Its Content"),
                      Parameter::Output(OutputText, "findings", "What Deserves A Look"),
                      Parameter::Output(TableString, "table", "Thumbnail And Previews"),
                      Parameter::Output(TableString, "rows", "Rows Of One File").SetHiddenFromGui(),
                  });
}

Compared ThumbnailsFilter::Compare(const OrvLoadedFile& file, const FilePicture& picture, const cv::Mat& main,
                                   const OrvJob& job) {
    Compared compared;
    using Content = Compared::Content;
    compared.content = Content::Unreadable;
    try {
        const auto bytes = ExtractFilePicture(file.GetBytes(), picture);
        if (!bytes) {
            compared.problem = "it cannot be taken out of the file";
            return compared;
        }
        if (DetectFormat(*bytes) == FileFormat::Jpeg) {
            const JpegStructure structure = ParseJpegStructure(*bytes);
            if (!structure.quantizationTables.empty())
                compared.tables = JpegQualityText(EstimateJpegQuality(structure.quantizationTables.front())) +
                                  ", " + QuantizationTablesHash(structure.quantizationTables);
        }
        const cv::Mat whole = DecodeImage(*bytes, job.Part(0.0, 0.3)).image.ToColor().GetMat();
        if (whole.empty() || std::min(whole.cols, whole.rows) < kThumbnailWindow) {
            compared.problem = whole.empty() ? "nothing of it can be decoded" : "it is too small";
            return compared;
        }
        compared.picture = Shrunk(whole, kShownSide);
        const cv::Mat judged = Shrunk(whole, kJudgedSide);
        if (std::min(judged.cols, judged.rows) < kThumbnailWindow) {
            compared.problem = "it is too narrow";
            return compared;
        }
        if (IsFlat(judged) || IsFlat(main)) {
            compared.content = Content::Flat;
            return compared;
        }
        compared.fit = FitThumbnail(main, judged, job.Part(0.3, 1.0));
    } catch (const ZorException& exception) {
        if (exception.GetKind() != ZorException::Kind::Format) throw;
        compared.problem = exception.GetMessage();
        return compared;
    }
    const ThumbnailFit& fit = compared.fit;
    const bool isPart = fit.disagreement >= kLookDisagreement && fit.changedShare >= kLeastChangedShare;
    compared.content = fit.correlation < kOtherPicture ? Content::Other
                       : isPart || !fit.isFound        ? Content::Parts
                                                       : Content::Same;
    return compared;
}

std::string ContentText(const Compared& compared) {
    switch (compared.content) {
        case Compared::Content::NotCompared:
            return "not compared: it need not show the same";
        case Compared::Content::Unreadable:
            return compared.problem;
        case Compared::Content::Flat:
            return "nothing to compare: too little contrast";
        case Compared::Content::Same:
            return "the main picture's";
        case Compared::Content::Parts:
            return "differs in parts";
        case Compared::Content::Other:
            return "another picture's";
    }
    return {};
}

std::vector<std::string> ThumbnailsFilter::Row(std::size_t number, const FilePicture& picture,
                                               const Compared& compared) {
    const bool isFitted = compared.content >= Compared::Content::Same;
    const ThumbnailFit& fit = compared.fit;
    return {ToString(static_cast<int>(number)),
            FilePictureKindText(picture.kind),
            Dimensions(picture.width, picture.height),
            ToString(static_cast<std::int64_t>(picture.offset)),
            ToString(static_cast<std::int64_t>(picture.size)),
            ContentText(compared),
            isFitted ? Placement(fit, fit.mask.size()) : "",
            isFitted ? FixedText(fit.correlation, 3) : "",
            isFitted ? FixedText(fit.meanDifference, 1) : "",
            isFitted ? FixedText(fit.disagreement, 2) : "",
            compared.tables};
}

void ThumbnailsFilter::Weigh(const FilePicture& picture, const Compared& compared, bool isJpeg,
                             OrvVerdict& verdict, std::vector<std::string>& findings) {
    if (!ClaimsSameContent(picture) || compared.content < Compared::Content::Same) return;
    const std::string name = "The " + FilePictureKindText(picture.kind) + " at offset " +
                             ToString(static_cast<std::int64_t>(picture.offset));
    const ThumbnailFit& fit = compared.fit;
    const auto add = [&](OrvVerdict weight, const std::string& text) {
        verdict = std::max(verdict, weight);
        findings.push_back(name + " " + text);
    };
    if (compared.content == Compared::Content::Other)
        return add(
            OrvVerdict::StrongSign,
            "shows another picture (correlation " + FixedText(fit.correlation, 2) + ", threshold " +
                FixedText(kOtherPicture, 2) +
                "). Whoever replaced the picture and kept the old metadata leaves this; some programs also leave a wrong "
                "thumbnail by mistake.");
    if (compared.content == Compared::Content::Parts) {
        // Pictures of a sensor are developed in another way than their previews.
        const bool isStrong =
            isJpeg && fit.disagreement >= kStrongDisagreement && fit.changedShare >= kLeastChangedShare;
        const cv::Size whole = fit.mask.size();
        add(isStrong ? OrvVerdict::StrongSign : OrvVerdict::WorthALook,
            "differs from the picture in parts (disagreement " + FixedText(fit.disagreement, 2) +
                ", threshold " + FixedText(isStrong ? kStrongDisagreement : kLookDisagreement, 2) +
                "), most of all " + FixedText(100.0 * (fit.worst.x + kThumbnailWindow / 2) / whole.width, 0) +
                " % from its left and " +
                FixedText(100.0 * (fit.worst.y + kThumbnailWindow / 2) / whole.height, 0) +
                " % from its top. Something may have been changed there after the thumbnail was made; a date stamped on one of "
                "the two does this as well.");
    }
    if (fit.shown.width > 1 + kBeyond || fit.shown.height > 1 + kBeyond)
        add(isJpeg ? OrvVerdict::StrongSign : OrvVerdict::WorthALook,
            "shows more than the picture: the picture was cut after the thumbnail was made.");
    if (fit.isMirrored)
        add(OrvVerdict::StrongSign, "shows the picture mirrored: one of the two was turned left to right.");
    if (fit.turn != 0 && isJpeg)
        add(OrvVerdict::WorthALook,
            "is turned against the picture by " + ToString(fit.turn) +
                " degrees. Viewers that turn pictures without coding them again do this.");
}

// Original: the main picture, brought to the small one. Processed: the map of the differences, and the small picture as a second map, so
// that it can be laid over the main picture too. What was not fitted is shown as it is.
void ThumbnailsFilter::Show(const Compared& compared, const cv::Mat& main, OrvSlotResult& result) {
    if (compared.content < Compared::Content::Same) {
        result.outputImage = Image(compared.picture);
        return;
    }
    const ThumbnailFit fit = compared.picture.size() == compared.fit.mask.size()
                                 ? compared.fit
                                 : FitThumbnail(main, compared.picture);
    result.inputImage = Image(fit.main);
    OrvMap map;
    map.name = "Difference";
    map.unit = "levels";
    map.values = fit.difference;
    map.mask = fit.mask;
    map.image = compared.picture.size();
    map.floor = {0, 24};
    result.AddMap(std::move(map));
    OrvMap picture;
    picture.name = "Embedded Picture";
    picture.unit = "levels";
    picture.values = compared.picture;
    picture.image = compared.picture.size();
    picture.range = {0, 255};
    picture.isAutomatic = false;
    result.AddMap(std::move(picture));
}

void ThumbnailsFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                               OrvSlotResult& result) const {
    const auto structure = GetFileStructure(file, job.Piece(0.0, 0.1, {}));
    const std::vector<FilePicture> pictures = ReadPicturesInFile(file.GetBytes(), *structure);
    const auto wanted = static_cast<std::size_t>(input.Get<int>("number"));
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < pictures.size(); ++i)
        if (IsCompared(pictures[i])) places.push_back(i);
    if (places.empty()) return result.SayNothing("No thumbnail or preview");
    const cv::Mat decoded = GetEightBits(file, job.Piece(0.1, 0.3, {}));
    const cv::Mat main = Shrunk(decoded, kMainSide);
    if (std::min(main.cols, main.rows) < kThumbnailWindow)
        return result.SayNothing("The picture is too small to be compared");
    const bool isJpeg = file.GetInfo().format == FileFormat::Jpeg;

    ::TableString rows;
    OrvVerdict verdict = OrvVerdict::NothingFound;
    std::vector<std::string> findings;
    std::int64_t count = 0;
    result.Set("shown", wanted == 0
                            ? "None"
                            : "Number " + ToString(static_cast<int>(wanted)) + " is no thumbnail or preview");
    bool isShown = false;
    for (std::size_t k = 0; k < places.size(); ++k) {
        const FilePicture& picture = pictures[places[k]];
        const double from = 0.3 + 0.7 * static_cast<double>(k) / static_cast<double>(places.size());
        const bool isWanted = wanted == places[k] + 1;
        Compared compared;
        if (k < kMaxCompared || isWanted)
            compared = Compare(file, picture, main,
                               job.Piece(from, from + 0.7 / static_cast<double>(places.size()), {}));
        // What need not show the same is told of when it does.
        if (!ClaimsSameContent(picture) && compared.content > Compared::Content::Same)
            compared.content = Compared::Content::NotCompared;
        if (compared.content >= Compared::Content::Same) ++count;
        rows.push_back(Row(places[k] + 1, picture, compared));
        Weigh(picture, compared, isJpeg, verdict, findings);
        if (isWanted && compared.picture.empty()) {
            result.Set("shown", "Number " + ToString(static_cast<int>(wanted)) + " cannot be shown");
            result.Set("content", ContentText(compared));
        }
        if (isShown || !(isWanted || wanted == 0) || compared.picture.empty()) continue;
        isShown = true;
        result.Set("shown", "Number " + ToString(static_cast<int>(places[k] + 1)) + ", " +
                                FilePictureKindText(picture.kind) + ", " +
                                Dimensions(picture.width, picture.height));
        result.Set("content", ContentText(compared));
        Show(compared, main, result);
    }
    result.SetCount("count", count);
    result.Set("rows", rows);
    result.Set("findings", findings.empty() ? std::string("Nothing found") : Join(findings, "\n"));
    const std::string text = verdict == OrvVerdict::NothingFound
                                 ? count == 0 ? "Nothing could be compared" : "Same content"
                                 : "Does not show the same";
    result.Judge(verdict, text, std::move(findings));
}

void ThumbnailsFilter::Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
                             VecParameter& output) const {
    OrvFilter::Merge(evidence, reference, output);
    MergeRows(output, evidence, reference,
              {{"Number", "Kind", "Dimensions", "Offset", "Size (bytes)", "Content", "Placement",
                "Correlation", "Mean Difference (levels)", "Disagreement", "Quality, Tables"},
               1,
               {3, 4, 7, 8, 9}});
}

}  // namespace

std::unique_ptr<OrvFilter> MakeThumbnailsFilter() {
    return std::make_unique<ThumbnailsFilter>();
}
