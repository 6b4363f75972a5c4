#include "orvcore/report/reportmarks.h"

#include <algorithm>
#include <cstdlib>

#include "orvcore/report/annotationpicture.h"
#include "orvcore/report/reportblocks.h"
#include "orvcore/tools/folder/thumbnail.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

constexpr int kLongestSide = 800;

std::string PlaceText(const OrvAnnotation& mark) {
    const Roi& place = mark.place;
    const std::string start = ToString(place.x) + ", " + ToString(place.y);
    const auto far = [](int begin, int length) {
        return ToString(static_cast<std::int64_t>(begin) + static_cast<std::int64_t>(length));
    };
    switch (mark.kind) {
        case OrvAnnotation::Kind::Rectangle:
            return start + ", " + ToString(place.width) + " x " + ToString(place.height);
        case OrvAnnotation::Kind::Arrow:
            return "from " + start + " to " + far(place.x, place.width) + ", " + far(place.y, place.height);
        case OrvAnnotation::Kind::Text:
            return start;
    }
    return start;
}

}  // namespace

std::vector<ReportBlock> MarkBlocks(const OrvFilePtr& file, const std::vector<OrvAnnotation>& marks,
                                    const OrvJob& job) {
    std::vector<ReportBlock> blocks;
    if (!file) return blocks;
    std::vector<OrvAnnotation> own;
    std::copy_if(marks.begin(), marks.end(), std::back_inserter(own),
                 [&](const OrvAnnotation& mark) { return mark.sha256 == file->GetSha256(); });
    if (own.empty()) return blocks;
    const std::string name = ToValidUtf8(PathName(file->GetPath()));
    blocks.emplace_back(ReportHeading{3, "Marks on " + name});
    const Image small = MakeThumbnail(file->GetBytes(), kLongestSide, job);
    const int width = file->GetInfo().width;
    if (small.IsValid() && width > 0) {
        AnnotationStyle style;
        style.scale = static_cast<double>(small.GetWidth()) / width;
        style.isNumbered = true;
        const Image drawn = DrawAnnotations(small, own, style);
        ReportPicture picture;
        EncodeForReport(drawn, picture);
        picture.width = drawn.GetWidth();
        picture.height = drawn.GetHeight();
        picture.alternative = name + " with the examiner's marks";
        picture.caption = name +
                          " with the examiner's marks, which are no part of the file; their numbers "
                          "are those of the table. As stored in the file, not turned.";
        blocks.emplace_back(std::move(picture));
    }
    ReportTable table;
    table.namesRows = true;
    table.labels = {"Number", "Mark", "Place in pixels", "Text"};
    for (std::size_t i = 0; i < own.size(); ++i)
        table.rows.push_back({{ToString(static_cast<std::int64_t>(i + 1))},
                              {AnnotationKindName(own[i].kind)},
                              {PlaceText(own[i])},
                              {ToValidUtf8(own[i].text)}});
    blocks.emplace_back(std::move(table));
    return blocks;
}
