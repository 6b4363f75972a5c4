// manualfigures LIST PICTURES OUTPUT: the manual's figures, made by the program's own filters. Each line of LIST names a filter, a changed
// picture, an untouched one, a reference ("" for none) and settings ("name=value", separated by ';'; "@" is the folder PICTURES). For each
// a JPEG ID.jpg goes into the folder OUTPUT, and its height into heights.tsv there: what the filter shows of both, side by side, with its verdicts. Run by the target
// "manual-figures"; the outcome is kept in the sources.

#include <cairo.h>
#include <librsvg/rsvg.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "orvcore/filters/filterlist.h"
#include "orvcore/report/resultpictures.h"
#include "orvcore/report/selftest.h"
#include "orvcore/tables/tablemarkup.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

constexpr int kColumn = 276;  // pixels
constexpr int kGap = 8;
constexpr int kPictureHeight = 184;
constexpr int kTableRows = 7;
constexpr int kJpegQuality = 72;

struct SurfaceReleaser {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct ContextReleaser {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
struct ObjectReleaser {
    void operator()(void* object) const { g_object_unref(object); }
};
using Surface = std::unique_ptr<cairo_surface_t, SurfaceReleaser>;
using Context = std::unique_ptr<cairo_t, ContextReleaser>;

// A sheet of paper to draw on, cut off below what was drawn.
class Sheet {
  public:
    Sheet(int width, int height)
        : m_surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height)),
          m_context(cairo_create(m_surface.get())) {
        cairo_set_source_rgb(m_context.get(), 1, 1, 1);
        cairo_paint(m_context.get());
    }
    // Height that it took, pixels.
    int DrawText(int x, int y, int width, int mostLines, int size, bool isBold, const std::string& text) {
        const std::unique_ptr<PangoLayout, ObjectReleaser> layout(pango_cairo_create_layout(m_context.get()));
        PangoFontDescription* font = pango_font_description_new();
        pango_font_description_set_family_static(font, "DejaVu Sans");
        pango_font_description_set_absolute_size(font, size * PANGO_SCALE);
        if (isBold) pango_font_description_set_weight(font, PANGO_WEIGHT_BOLD);
        pango_layout_set_font_description(layout.get(), font);
        pango_font_description_free(font);
        pango_layout_set_width(layout.get(), width * PANGO_SCALE);
        pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
        pango_layout_set_height(layout.get(), -mostLines);
        pango_layout_set_ellipsize(layout.get(), PANGO_ELLIPSIZE_END);
        const std::string valid = ToValidUtf8(text);
        pango_layout_set_text(layout.get(), valid.data(), static_cast<int>(valid.size()));
        cairo_set_source_rgb(m_context.get(), 0.11, 0.13, 0.15);
        cairo_move_to(m_context.get(), x, y);
        pango_cairo_show_layout(m_context.get(), layout.get());
        int height = 0;
        pango_layout_get_pixel_size(layout.get(), nullptr, &height);
        return height;
    }
    int DrawPicture(int x, int y, const Image& image) {
        const double scale =
            std::min({1.0, double(kColumn) / image.GetWidth(), double(kPictureHeight) / image.GetHeight()});
        cv::Mat shown;
        cv::resize(image.ToColor().GetMat(), shown, cv::Size(), scale, scale, cv::INTER_AREA);
        cairo_surface_flush(m_surface.get());
        cv::Mat sheet = Pixels();
        cv::Mat colour;
        cv::cvtColor(shown, colour, cv::COLOR_BGR2BGRA);
        colour.copyTo(sheet(cv::Rect(x, y, shown.cols, shown.rows)));
        cairo_surface_mark_dirty(m_surface.get());
        return shown.rows;
    }
    int DrawSvg(int x, int y, const std::string& svg) {
        const std::unique_ptr<RsvgHandle, ObjectReleaser> drawing(
            rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(svg.data()), svg.size(), nullptr));
        double width = 0;
        double height = 0;
        if (!drawing || !rsvg_handle_get_intrinsic_size_in_pixels(drawing.get(), &width, &height)) return 0;
        const double scale = kColumn / width;
        const RsvgRectangle room = {double(x), double(y), kColumn, height * scale};
        rsvg_handle_render_document(drawing.get(), m_context.get(), &room, nullptr);
        return static_cast<int>(height * scale);
    }
    Image Cut(int height) {
        cairo_surface_flush(m_surface.get());
        const cv::Mat sheet = Pixels();
        cv::Mat colour;
        cv::cvtColor(sheet(cv::Rect(0, 0, sheet.cols, std::min(height, sheet.rows))), colour,
                     cv::COLOR_BGRA2BGR);
        return Image(colour);
    }

  private:
    cv::Mat Pixels() {
        return cv::Mat(cairo_image_surface_get_height(m_surface.get()),
                       cairo_image_surface_get_width(m_surface.get()), CV_8UC4,
                       cairo_image_surface_get_data(m_surface.get()),
                       static_cast<std::size_t>(cairo_image_surface_get_stride(m_surface.get())));
    }

    Surface m_surface;
    Context m_context;
};

// Where the pictures lie and when they came there is another answer on every computer.
bool IsOfThisComputer(const Parameter& output) {
    for (const char* const name : {"Full Path", "Modified", "Created", "Last Accessed", "Attributes Changed"})
        if (output.GetDescription() == name) return true;
    return false;
}

// The first rows of values and tables, for filters that show no picture.
std::string Values(const OrvFilterResult& result) {
    std::string text;
    int rows = 0;
    for (const Parameter& output : result.output) {
        if (output.IsHiddenFromGui() || !output.IsSet() || IsOfThisComputer(output)) continue;
        if (output.Type() != ParameterType::TableString) {
            if (++rows <= kTableRows)
                text +=
                    output.GetDescription() + ": " + ShortenText(output.GetValueAsString(false), 90) + "\n";
            continue;
        }
        const TableString& table = output.Get<TableString>();
        for (std::size_t row = 1; row < table.size() && rows < kTableRows; ++row, ++rows) {
            std::string line;
            for (std::size_t i = 0; i < std::min<std::size_t>(table[row].size(), 3); ++i)
                line += (i > 0 ? "  " : "") + ShortenText(ParseCell(table[row][i]).text, 40);
            text += line + "\n";
        }
    }
    return text;
}

int DrawColumn(Sheet& sheet, int x, const OrvFilter& filter, const std::string& title,
               const OrvFilterResult& result) {
    int y = kGap;
    y += sheet.DrawText(x, y, kColumn, 1, 11, true, title) + 4;
    bool isDrawn = false;
    if (result.slot[OrvEvidence] && !result.slot[OrvEvidence]->SaysNothing()) {
        ForEachPicture(filter, result, kColumn, [&](const OrvResultPicture& picture) {
            // Of a filter with maps the map, not the picture below it.
            const bool isLater = picture.slot != OrvEvidence || isDrawn ||
                                 (!result.GetMaps(OrvEvidence).empty() && picture.name == "evidence");
            if (isLater) return;
            y += picture.svg.empty() ? sheet.DrawPicture(x, y, picture.image)
                                     : sheet.DrawSvg(x, y, picture.svg);
            isDrawn = true;
        });
    }
    if (!isDrawn) y += sheet.DrawText(x, y, kColumn, 12, 10, false, Values(result));
    if (result.slot[OrvEvidence]) {
        const OrvSlotResult& found = *result.slot[OrvEvidence];
        const std::string verdict = (found.SaysNothing() ? "Not applicable: " : "") + found.verdictText;
        if (!found.verdictText.empty()) y += 4 + sheet.DrawText(x, y + 4, kColumn, 4, 10, true, verdict);
    }
    return y + kGap;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return std::fprintf(stderr, "usage: manualfigures LIST PICTURES OUTPUT\n"), 2;
    const std::string folder = argv[2];
    int failed = 0;
    std::string heights;
    const auto filters = CreateAllFilters();
    for (const std::string& line : StringToVecString(ReadFile(argv[1]), "\n", SplitMode::SkipEmpty)) {
        if (line.starts_with("#")) continue;
        std::vector<std::string> cells = StringToVecString(line, "\t");
        cells.resize(5);
        const auto filter = std::find_if(filters.begin(), filters.end(),
                                         [&](const auto& one) { return one->GetId() == cells[0]; });
        try {
            if (filter == filters.end()) ZOR_THROW(Argument, "There is no such filter.");
            Sheet sheet(2 * kColumn + 3 * kGap, 1000);
            int height = 0;
            for (int side = 0; side < 2; ++side) {
                const std::string& name = cells[static_cast<std::size_t>(1 + side)];
                const OrvFilterResultPtr result =
                    RunOnSelfTestFiles(**filter, cells[4], {name, cells[3]}, folder, OrvJob());
                height = std::max(
                    height, DrawColumn(sheet, kGap + side * (kColumn + kGap), **filter,
                                       (side == 0 ? "Changed: " : "Untouched: ") + PathName(name), *result));
            }
            const Image figure = sheet.Cut(height);
            heights += cells[0] + "\t" + ToString(figure.GetHeight()) + "\n";
            WriteFile(PathJoin(argv[3], cells[0] + ".jpg"), EncodeImage(figure, "jpg", kJpegQuality));
        } catch (const ZorException& exception) {
            std::fprintf(stderr, "%s: %s\n", cells[0].c_str(), exception.GetMessage().c_str());
            ++failed;
        }
    }
    WriteFile(PathJoin(argv[3], "heights.tsv"), heights);
    return failed == 0 ? 0 : 1;
}
