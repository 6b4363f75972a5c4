#include "orvcore/report/annotationpicture.h"

#include <cairo.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "zorbase/text.h"

namespace {

const cv::Scalar kInk(255, 220, 90);  // blue, green, red: light blue is no colour of a map's marks
constexpr double kLinesPerPicture = 500.0;
constexpr double kLettersPerPicture = 45.0;
constexpr int kLeastLetters = 11;  // pixels
constexpr int kMostLetters = 160;
constexpr std::size_t kLongestText = 300;  // letters; more would be a wall
constexpr double kFurthest = 1e6;          // pixels; OpenCV's lines know no more

struct SurfaceReleaser {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct ContextReleaser {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
struct LayoutReleaser {
    void operator()(PangoLayout* layout) const { g_object_unref(layout); }
};
using Surface = std::unique_ptr<cairo_surface_t, SurfaceReleaser>;
using Context = std::unique_ptr<cairo_t, ContextReleaser>;
using Layout = std::unique_ptr<PangoLayout, LayoutReleaser>;

Layout LayOut(cairo_t* context, const std::string& text, int height) {
    Layout layout(pango_cairo_create_layout(context));
    PangoFontDescription* font = pango_font_description_new();
    pango_font_description_set_family_static(font, "DejaVu Sans");
    pango_font_description_set_absolute_size(font, height * PANGO_SCALE);
    pango_layout_set_font_description(layout.get(), font);
    pango_font_description_free(font);
    pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
    return layout;
}

// The letters in white on black, one channel; at most as large as asked.
cv::Mat DrawLetters(const std::string& text, int height, cv::Size most) {
    const Surface trial(cairo_image_surface_create(CAIRO_FORMAT_A8, 1, 1));
    const Context trialContext(cairo_create(trial.get()));
    int width = 0;
    int lines = 0;
    pango_layout_get_pixel_size(LayOut(trialContext.get(), text, height).get(), &width, &lines);
    width = std::min(width, most.width);
    lines = std::min(lines, most.height);
    if (width <= 0 || lines <= 0) return {};
    const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_A8, width, lines));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return {};
    {
        const Context context(cairo_create(surface.get()));
        pango_cairo_show_layout(context.get(), LayOut(context.get(), text, height).get());
    }
    cairo_surface_flush(surface.get());
    return cv::Mat(lines, width, CV_8UC1, cairo_image_surface_get_data(surface.get()),
                   static_cast<std::size_t>(cairo_image_surface_get_stride(surface.get())))
        .clone();
}

// Letters on a black ground, moved so that as much as possible is on the picture.
void PlaceLabel(cv::Mat& picture, const std::string& text, cv::Point topLeft, bool isAbove, int height) {
    const cv::Mat letters = DrawLetters(text, height, picture.size());
    if (letters.empty()) return;
    const int pad = std::max(1, height / 5);
    cv::Rect ground(topLeft.x, isAbove ? topLeft.y - letters.rows - 2 * pad : topLeft.y,
                    letters.cols + 2 * pad, letters.rows + 2 * pad);
    ground.x = std::max(0, std::min(ground.x, picture.cols - ground.width));
    ground.y = std::max(0, std::min(ground.y, picture.rows - ground.height));
    const cv::Rect seen = ground & cv::Rect(0, 0, picture.cols, picture.rows);
    if (seen.empty()) return;
    picture(seen).setTo(cv::Scalar::all(0));
    const cv::Rect place = cv::Rect(ground.x + pad, ground.y + pad, letters.cols, letters.rows) & seen;
    for (int y = 0; y < place.height; ++y) {
        const uchar* alpha = letters.ptr<uchar>(y);
        cv::Vec3b* row = picture.ptr<cv::Vec3b>(place.y + y) + place.x;
        for (int x = 0; x < place.width; ++x)
            for (int channel = 0; channel < 3; ++channel)
                row[x][channel] = static_cast<uchar>(kInk[channel] * alpha[x] / 255.0);
    }
}

cv::Point PointAt(double x, double y) {
    const auto whole = [](double value) {
        return static_cast<int>(std::lround(std::clamp(value, -kFurthest, kFurthest)));
    };
    return {whole(x), whole(y)};
}

}  // namespace

std::array<double, 4> ArrowBarbs(double x1, double y1, double x2, double y2, double length) {
    constexpr double kAngle = 0.45;  // radians between shaft and barb
    const double back = std::atan2(y1 - y2, x1 - x2);
    return {x2 + length * std::cos(back - kAngle), y2 + length * std::sin(back - kAngle),
            x2 + length * std::cos(back + kAngle), y2 + length * std::sin(back + kAngle)};
}

const char* AnnotationKindName(OrvAnnotation::Kind kind) {
    switch (kind) {
        case OrvAnnotation::Kind::Rectangle:
            return "rectangle";
        case OrvAnnotation::Kind::Arrow:
            return "arrow";
        case OrvAnnotation::Kind::Text:
            return "text";
    }
    return "";
}

Image DrawAnnotations(const Image& picture, const std::vector<OrvAnnotation>& marks,
                      const AnnotationStyle& style) {
    if (!picture.IsValid()) return {};
    cv::Mat drawn = picture.ToColor().GetMat().clone();
    const int longest = std::max(drawn.cols, drawn.rows);
    const int thickness = std::max(1, static_cast<int>(std::lround(longest / kLinesPerPicture)));
    const int letters =
        std::clamp(static_cast<int>(std::lround(longest / kLettersPerPicture)), kLeastLetters, kMostLetters);
    const double barb = 6.0 * thickness + 4.0;
    int number = 0;
    for (const OrvAnnotation& mark : marks) {
        ++number;
        const double x = mark.place.x * style.scale;
        const double y = mark.place.y * style.scale;
        const double right = (static_cast<double>(mark.place.x) + mark.place.width) * style.scale;
        const double bottom = (static_cast<double>(mark.place.y) + mark.place.height) * style.scale;
        // A dark edge first, so that it is seen on any ground.
        for (const auto& [ink, width] :
             {std::pair(cv::Scalar::all(0), thickness * 3), std::pair(kInk, thickness)}) {
            if (mark.kind == OrvAnnotation::Kind::Rectangle)
                cv::rectangle(drawn, PointAt(x, y), PointAt(right - 1, bottom - 1), ink, width);
            if (mark.kind != OrvAnnotation::Kind::Arrow) continue;
            const auto ends = ArrowBarbs(x, y, right, bottom, barb);
            cv::line(drawn, PointAt(x, y), PointAt(right, bottom), ink, width);
            cv::line(drawn, PointAt(right, bottom), PointAt(ends[0], ends[1]), ink, width);
            cv::line(drawn, PointAt(right, bottom), PointAt(ends[2], ends[3]), ink, width);
        }
        const std::string text =
            style.isNumbered ? ToString(number) : ShortenText(ToValidUtf8(mark.text), kLongestText);
        if (!text.empty())
            PlaceLabel(drawn, text, PointAt(x, y), mark.kind != OrvAnnotation::Kind::Text, letters);
    }
    return Image(drawn);
}
