#include <algorithm>

#include "orvcore/filter/fileintermediates.h"
#include "orvcore/filter/filter.h"
#include "orvcore/filter/pictureplaces.h"
#include "orvcore/filters/filterlist.h"
#include "orvcore/formats/structure/picturesinfile.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

std::string Dimensions(const FilePicture& picture) {
    if (picture.width <= 0 || picture.height <= 0) return "not told";
    return ToString(picture.width) + " x " + ToString(picture.height);
}

class PicturesInFileFilter : public OrvFilterImage, public OrvPicturePlaces {
  public:
    PicturesInFileFilter();
    bool NeedsPicture() const override { return false; }
    bool ShowsPlaces(OrvFileId, bool isProcessed) const override { return !isProcessed; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return IsReadableFormat(file.GetInfo().format) ? "" : "Not a picture that is read";
    }
    bool ListsPictures() const override { return true; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
               VecParameter& output) const override;

  private:
    static void Show(const OrvLoadedFile& file, const FilePicture& picture, const OrvJob& job,
                     OrvSlotResult& result);
};

PicturesInFileFilter::PicturesInFileFilter() : OrvFilterImage("Pictures In The File", "pictures-in-file") {
    Describe(
        "File",
        "Every picture that the file holds beside the one that all other pages analyse: thumbnails and previews, further pictures "
        "of a multi-picture file or behind its end, gain maps, depth and alpha of HEIF and AVIF, pages of a TIFF, frames of an "
        "animation, previews in RAW files. The chosen one is taken out and shown; frames are shown as they are stored, not "
        "composed with those before them. A preview that shows something else than the picture was left by whoever edited it; "
        "but programs also renew previews, and some leave a wrong one by mistake. It cannot see pictures hidden in makers' own "
        "notes that keep no standard layout, nor such as are encrypted.");
    using enum ParameterType;
    SetParameters({Parameter::Int("number", "Show Number", 1, 1, static_cast<int>(kMaxFilePictures))}, {},
                  {
                      Parameter::Output(OutputInt64, "count", "Pictures"),
                      Parameter::Output(OutputString, "shown", "Shown"),
                      Parameter::Output(OutputString, "analysed", "All Pages Analyse"),
                      Parameter::Output(TableString, "table", "Pictures"),
                      Parameter::Output(TableString, "rows", "Rows Of One File").SetHiddenFromGui(),
                  });
}

void PicturesInFileFilter::Show(const OrvLoadedFile& file, const FilePicture& picture, const OrvJob& job,
                                OrvSlotResult& result) {
    const std::string name = FilePictureKindText(picture.kind) + ", " + Dimensions(picture);
    try {
        if (picture.access == FilePicture::Access::Whole) {
            result.outputImage = file.GetDecoded(job)->image;
        } else if (const auto bytes = ExtractFilePicture(file.GetBytes(), picture)) {
            result.outputImage = DecodeImage(*bytes, job.Part()).image;
        } else {
            return result.Set("shown", name + ": it cannot be taken out of the file");
        }
        result.Set("shown", name);
    } catch (const ZorException& exception) {
        // One picture that cannot be decoded must not hide the list of the others.
        if (exception.GetKind() != ZorException::Kind::Format) throw;
        result.Set("shown", name + ": " + exception.GetMessage());
    }
}

void PicturesInFileFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                                   OrvSlotResult& result) const {
    const auto structure = GetFileStructure(file, job.Piece(0.0, 0.2, {}));
    const std::vector<FilePicture> pictures = ReadPicturesInFile(file.GetBytes(), *structure);
    ::TableString rows;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const FilePicture& picture = pictures[i];
        rows.push_back({ToString(static_cast<int>(i + 1)), FilePictureKindText(picture.kind), picture.format,
                        Dimensions(picture), ToString(static_cast<std::int64_t>(picture.offset)),
                        ToString(static_cast<std::int64_t>(picture.size)), picture.where, picture.role});
    }
    result.SetCount("count", static_cast<std::int64_t>(pictures.size()));
    result.Set("rows", rows);
    if (pictures.empty()) {
        result.Set("shown", "None");
        result.Set("analysed", "The file is damaged or its pictures are not listed");
        return;
    }
    result.Set("analysed",
               "Number 1 of " + ToString(static_cast<int>(pictures.size())) + ", " + Dimensions(pictures[0]));
    const auto number = static_cast<std::size_t>(input.Get<int>("number"));
    if (number > pictures.size()) {
        result.Set("shown", "There is no number " + ToString(static_cast<int>(number)));
        return;
    }
    Show(file, pictures[number - 1], job.Piece(0.2, 1.0, {}), result);
}

void PicturesInFileFilter::Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
                                 VecParameter& output) const {
    OrvFilter::Merge(evidence, reference, output);
    MergeRows(output, evidence, reference,
              {{"Number", "Kind", "Format", "Dimensions", "Offset", "Size (bytes)", "Where", "Said Of It"},
               1,
               {4}});
}

}  // namespace

std::unique_ptr<OrvFilter> MakePicturesInFileFilter() {
    return std::make_unique<PicturesInFileFilter>();
}
