#include "orvcore/report/reportpdf.h"

#include <cairo-pdf.h>
#include <librsvg/rsvg.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <exception>
#include <map>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <string>

#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

// All lengths in points (1/72 inch), from the page's upper left corner.
constexpr double kPageWidth = 595.276;
constexpr double kPageHeight = 841.89;
constexpr double kLeft = 50.0;
constexpr double kRight = kPageWidth - 50.0;
constexpr double kTop = 50.0;
constexpr double kBottom = kPageHeight - 56.0;
constexpr double kWidth = kRight - kLeft;
constexpr double kPointsPerPixel = 0.75;  // a CSS pixel
constexpr double kPadding = 3.0;          // of a table's cell

constexpr const char* kText = "DejaVu Sans";
constexpr const char* kFixed = "DejaVu Sans Mono";

template <typename T, void (*Release)(T*)>
struct Releaser {
    void operator()(T* object) const { Release(object); }
};
struct ObjectReleaser {
    void operator()(void* object) const { g_object_unref(object); }
};
using Surface = std::unique_ptr<cairo_surface_t, Releaser<cairo_surface_t, cairo_surface_destroy>>;
using Context = std::unique_ptr<cairo_t, Releaser<cairo_t, cairo_destroy>>;
using Layout = std::unique_ptr<PangoLayout, ObjectReleaser>;
using Drawing = std::unique_ptr<RsvgHandle, ObjectReleaser>;

void Check(cairo_status_t status, const char* what) {
    if (status != CAIRO_STATUS_SUCCESS)
        ZOR_THROW(File, std::string("The report could not be set on pages (") + what +
                            "): " + cairo_status_to_string(status) + ".");
}

struct Colour {
    double red, green, blue;
};
constexpr Colour kInk{0.11, 0.13, 0.15};
constexpr Colour kQuietInk{0.36, 0.39, 0.44};
constexpr Colour kLinkInk{0.12, 0.37, 0.64};
constexpr Colour kRule{0.79, 0.81, 0.84};
constexpr Colour kLabelGround{0.95, 0.96, 0.97};

Colour ColourOf(ReportTone tone) {
    switch (tone) {
        case ReportTone::Plain:
            return kInk;
        case ReportTone::Quiet:
            return kQuietInk;
        case ReportTone::Note:
            return {0.54, 0.29, 0.0};
        case ReportTone::Odd:
            return {0.70, 0.15, 0.12};
    }
    return kInk;
}

// Lays the document out from top to bottom. Twice: first without drawing, to learn on which page each heading stands.
class Pages {
  public:
    Pages(cairo_t* context, const ReportDocument& document, const OrvJob& job, bool draws,
          std::map<std::string, int> pageOf)
        : m_context(context), m_document(document), m_job(job), m_draws(draws), m_pageOf(std::move(pageOf)) {}

    std::map<std::string, int> Run(double from, double to) {
        Put(m_document.title, kText, 20, true, kInk, 4);
        Put(m_document.dateLine, kText, 8.5, false, kQuietInk, 6);
        const std::size_t count = m_document.blocks.size();
        for (std::size_t i = 0; i < count; ++i) {
            m_job.SetProgress(from + (to - from) * static_cast<double>(i) / static_cast<double>(count));
            std::visit([this](const auto& block) { Add(block); }, m_document.blocks[i]);
        }
        FinishPage();
        return m_pageOf;
    }

  private:
    // --- pages ---
    void FinishPage() {
        if (m_draws) {
            const Layout number = Make(ToString(m_page), kText, 8, false, -1);
            Ink(kQuietInk);
            cairo_move_to(m_context, kRight - WidthOf(number.get()), kPageHeight - 38);
            pango_cairo_show_layout(m_context, number.get());
            const Layout title = Make(m_document.title, kText, 8, false, kWidth - 60);
            pango_layout_set_height(title.get(), -1);
            pango_layout_set_ellipsize(title.get(), PANGO_ELLIPSIZE_END);
            cairo_move_to(m_context, kLeft, kPageHeight - 38);
            pango_cairo_show_layout(m_context, title.get());
            cairo_show_page(m_context);
            Check(cairo_status(m_context), "page");
        }
        ++m_page;
        m_y = kTop;
    }
    // Where less than so much is left, goes to the next page.
    void Need(double height) {
        if (m_y > kTop && m_y + height > kBottom) FinishPage();
    }

    // --- texts ---
    Layout Make(const std::string& text, const char* family, double size, bool isBold, double width) {
        Layout layout(pango_cairo_create_layout(m_context));
        PangoFontDescription* font = pango_font_description_new();
        pango_font_description_set_family_static(font, family);
        pango_font_description_set_absolute_size(font, size * PANGO_SCALE);
        if (isBold) pango_font_description_set_weight(font, PANGO_WEIGHT_BOLD);
        pango_layout_set_font_description(layout.get(), font);
        pango_font_description_free(font);
        if (width >= 0) {
            pango_layout_set_width(layout.get(), static_cast<int>(std::max(width, 4.0) * PANGO_SCALE));
            pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
        }
        const std::string valid = ToValidUtf8(text);
        pango_layout_set_text(layout.get(), valid.data(), static_cast<int>(valid.size()));
        return layout;
    }
    static double WidthOf(PangoLayout* layout) {
        int width = 0;
        pango_layout_get_size(layout, &width, nullptr);
        return static_cast<double>(width) / PANGO_SCALE;
    }
    static double HeightOf(PangoLayout* layout) {
        int height = 0;
        pango_layout_get_size(layout, nullptr, &height);
        return static_cast<double>(height) / PANGO_SCALE;
    }
    void Ink(const Colour& colour) { cairo_set_source_rgb(m_context, colour.red, colour.green, colour.blue); }
    // A text over the page's width, line by line, so that it may go on over the page's end.
    void Put(const std::string& text, const char* family, double size, bool isBold, const Colour& colour,
             double after) {
        const Layout layout = Make(text, family, size, isBold, kWidth);
        PangoLayoutIter* lines = pango_layout_get_iter(layout.get());
        do {
            PangoLayoutLine* line = pango_layout_iter_get_line_readonly(lines);
            PangoRectangle box;
            pango_layout_iter_get_line_extents(lines, nullptr, &box);
            const double height = static_cast<double>(box.height) / PANGO_SCALE;
            Need(height);
            if (m_draws) {
                Ink(colour);
                const double baseline =
                    static_cast<double>(pango_layout_iter_get_baseline(lines) - box.y) / PANGO_SCALE;
                cairo_move_to(m_context, kLeft + static_cast<double>(box.x) / PANGO_SCALE, m_y + baseline);
                pango_cairo_show_layout_line(m_context, line);
            }
            m_y += height;
        } while (pango_layout_iter_next_line(lines));
        pango_layout_iter_free(lines);
        m_y += after;
    }

    void BeginLink(const std::string& anchor) {
        if (m_draws && !anchor.empty())
            cairo_tag_begin(m_context, CAIRO_TAG_LINK, ("dest='" + anchor + "'").c_str());
    }
    void EndLink(const std::string& anchor) {
        if (m_draws && !anchor.empty()) cairo_tag_end(m_context, CAIRO_TAG_LINK);
    }

    // --- blocks ---
    void Add(const ReportHeading& heading) {
        const double size = heading.level <= 1 ? 18 : heading.level == 2 ? 13 : 10.5;
        // A heading never stands alone at the foot of a page.
        Need(90);
        if (m_y > kTop) m_y += 12;
        if (!heading.anchor.empty()) {
            m_pageOf[heading.anchor] = m_page;
            if (m_draws) {
                cairo_tag_begin(m_context, CAIRO_TAG_DEST, ("name='" + heading.anchor + "'").c_str());
                cairo_tag_end(m_context, CAIRO_TAG_DEST);
                cairo_pdf_surface_add_outline(
                    cairo_get_target(m_context), CAIRO_PDF_OUTLINE_ROOT, ToValidUtf8(heading.text).c_str(),
                    ("dest='" + heading.anchor + "'").c_str(), CAIRO_PDF_OUTLINE_FLAG_OPEN);
            }
        }
        Put(heading.text, kText, size, true, kInk, 2);
        if (heading.level != 2) return;
        if (m_draws) Rule(m_y);
        m_y += 5;
    }
    void Rule(double y) {
        Ink(kRule);
        cairo_set_line_width(m_context, 0.6);
        cairo_move_to(m_context, kLeft, y);
        cairo_line_to(m_context, kRight, y);
        cairo_stroke(m_context);
    }
    void Add(const ReportParagraph& paragraph) {
        Put(paragraph.text, kText, 8.5, false, ColourOf(paragraph.tone), 4);
    }
    // Lines a little too long are set smaller: a row of columns that breaks cannot be read.
    void Add(const ReportListing& listing) {
        constexpr double kSize = 6.8;
        constexpr double kSmallest = 5.2;
        const double wide = WidthOf(Make(listing.text, kFixed, kSize, false, -1).get());
        const double fitting = wide > kWidth ? kSize * (kWidth - 1) / wide : kSize;
        Put(listing.text, kFixed, fitting >= kSmallest ? fitting : kSize, false, kInk, 4);
    }
    void Add(const ReportContents&) {
        for (const ReportBlock& block : m_document.blocks) {
            const auto* heading = std::get_if<ReportHeading>(&block);
            if (heading == nullptr || heading->anchor.empty() || heading->level != 2) continue;
            const Layout text = Make(heading->text, kText, 9, false, kWidth - 40);
            pango_layout_set_ellipsize(text.get(), PANGO_ELLIPSIZE_END);
            const double height = HeightOf(text.get()) + 1.5;
            Need(height);
            if (m_draws) {
                BeginLink(heading->anchor);
                Ink(kLinkInk);
                cairo_move_to(m_context, kLeft, m_y);
                pango_cairo_show_layout(m_context, text.get());
                EndLink(heading->anchor);
                const Layout page = Make(ToString(m_pageOf[heading->anchor]), kText, 9, false, -1);
                Ink(kInk);
                cairo_move_to(m_context, kRight - WidthOf(page.get()), m_y);
                pango_cairo_show_layout(m_context, page.get());
            }
            m_y += height;
        }
    }

    // --- tables ---
    // Columns get what their texts want, shrunk in proportion to it where the page has not so much; a narrow column keeps its width.
    std::vector<double> ColumnWidths(const ReportTable& table, std::size_t columns, double size) {
        std::vector<double> wanted(columns, 12.0);
        const auto note = [&](std::size_t column, const std::string& text, bool isName) {
            const Layout layout =
                Make(ShortenText(text, 400), isName || table.isProse ? kText : kFixed, size, isName, -1);
            wanted[column] =
                std::max(wanted[column], std::min(WidthOf(layout.get()), kWidth) + 2 * kPadding + 1);
        };
        for (std::size_t i = 0; i < table.labels.size(); ++i) note(i, table.labels[i], true);
        for (const auto& row : table.rows)
            for (std::size_t i = 0; i < row.size(); ++i) note(i, row[i].text, i == 0 && table.namesRows);
        double sum = 0;
        for (const double width : wanted) sum += width;
        if (sum <= kWidth) {
            if (columns > 0 && table.namesRows) wanted.back() += kWidth - sum;
            return wanted;
        }
        // Everybody up to a common bound that makes the sum fit.
        double low = 0;
        double high = kWidth;
        for (int i = 0; i < 40; ++i) {
            const double bound = (low + high) / 2;
            double total = 0;
            for (const double width : wanted) total += std::min(width, bound);
            (total > kWidth ? high : low) = bound;
        }
        for (double& width : wanted) width = std::min(width, low);
        return wanted;
    }

    struct Cell {
        Layout layout;
        Colour colour;
        std::string anchor;
    };
    void PutRow(const std::vector<Cell>& cells, const std::vector<double>& widths, double height,
                bool isLabel) {
        if (m_draws) {
            double x = kLeft;
            for (std::size_t i = 0; i < cells.size(); ++i) {
                cairo_rectangle(m_context, x, m_y, widths[i], height);
                if (isLabel) {
                    Ink(kLabelGround);
                    cairo_fill_preserve(m_context);
                }
                Ink(kRule);
                cairo_set_line_width(m_context, 0.5);
                cairo_stroke(m_context);
                BeginLink(cells[i].anchor);
                Ink(cells[i].anchor.empty() ? cells[i].colour : kLinkInk);
                cairo_move_to(m_context, x + kPadding, m_y + kPadding);
                pango_cairo_show_layout(m_context, cells[i].layout.get());
                EndLink(cells[i].anchor);
                x += widths[i];
            }
        }
        m_y += height;
    }
    static double RowHeight(const std::vector<Cell>& cells) {
        double height = 0;
        for (const Cell& cell : cells) height = std::max(height, HeightOf(cell.layout.get()));
        return height + 2 * kPadding;
    }
    void Add(const ReportTable& table) {
        std::size_t columns = table.labels.size();
        for (const auto& row : table.rows) columns = std::max(columns, row.size());
        if (columns == 0) return;
        const double size = columns <= 4 ? 7.5 : columns <= 7 ? 6.5 : columns <= 12 ? 5.5 : 4.5;
        const std::vector<double> widths = ColumnWidths(table, columns, size);
        const auto make = [&](std::size_t column, const std::string& text, bool isName, const Colour& colour,
                              const std::string& anchor) {
            return Cell{Make(text, isName || table.isProse ? kText : kFixed, size, isName,
                             widths[column] - 2 * kPadding),
                        colour, anchor};
        };
        std::vector<Cell> labels;
        for (std::size_t i = 0; i < table.labels.size(); ++i)
            labels.push_back(make(i, table.labels[i], true, kInk, {}));
        bool hasLabels = false;
        for (const std::string& label : table.labels) hasLabels = hasLabels || !label.empty();
        if (!hasLabels) labels.clear();
        const double labelHeight = labels.empty() ? 0 : RowHeight(labels);
        const double room = kBottom - kTop - labelHeight - 2;
        bool needsLabels = true;
        for (const auto& row : table.rows) {
            std::vector<Cell> cells;
            for (std::size_t i = 0; i < row.size(); ++i)
                cells.push_back(
                    make(i, row[i].text, i == 0 && table.namesRows, ColourOf(row[i].tone), row[i].anchor));
            double height = RowHeight(cells);
            if (height > room) {
                // No page has room for it: cut, with the sign for it at the end.
                for (const Cell& cell : cells) {
                    pango_layout_set_height(cell.layout.get(),
                                            static_cast<int>((room - 2 * kPadding) * PANGO_SCALE));
                    pango_layout_set_ellipsize(cell.layout.get(), PANGO_ELLIPSIZE_END);
                }
                height = std::min(RowHeight(cells), room);
            }
            const int page = m_page;
            Need(height + (needsLabels ? labelHeight : 0));
            needsLabels = needsLabels || m_page != page;
            if (needsLabels && !labels.empty()) PutRow(labels, widths, labelHeight, true);
            needsLabels = false;
            PutRow(cells, widths, height, false);
        }
        if (table.rows.empty() && !labels.empty()) {
            Need(labelHeight);
            PutRow(labels, widths, labelHeight, true);
        }
        m_y += 6;
        if (table.leftOut > 0)
            Put("\u2702 " + ToString(static_cast<std::int64_t>(table.leftOut)) + " more rows are left out. " +
                    table.more,
                kText, 8.5, false, ColourOf(ReportTone::Note), 4);
    }

    // --- pictures ---
    void Add(const ReportPicture& picture) {
        const Layout caption = Make(picture.caption, kText, 7.5, false, kWidth);
        const double captionHeight = std::min(HeightOf(caption.get()), 200.0);
        Drawing drawing;
        double width = picture.shownWidth > 0 ? picture.shownWidth : picture.width;
        double height = picture.width > 0 ? width * picture.height / picture.width : 0;
        if (!picture.svg.empty()) {
            drawing.reset(rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(picture.svg.data()),
                                                    picture.svg.size(), nullptr));
            if (drawing) rsvg_handle_get_intrinsic_size_in_pixels(drawing.get(), &width, &height);
        }
        if (width <= 0 || height <= 0) return Add(ReportParagraph{picture.caption, ReportTone::Quiet});
        // A picture is at most as wide as the page and two thirds as high.
        const double scale = std::min({kPointsPerPixel, kWidth / width, (kBottom - kTop) * 0.66 / height});
        Need(height * scale + 3 + captionHeight);
        if (m_draws) {
            cairo_save(m_context);
            cairo_translate(m_context, kLeft, m_y);
            if (drawing) {
                const RsvgRectangle room = {0, 0, width * scale, height * scale};
                rsvg_handle_render_document(drawing.get(), m_context, &room, nullptr);
            } else {
                DrawPixels(picture, width * scale);
            }
            cairo_restore(m_context);
            Check(cairo_status(m_context), "picture");
        }
        m_y += height * scale + 3;
        if (m_draws) {
            cairo_save(m_context);
            cairo_rectangle(m_context, kLeft, m_y, kWidth, captionHeight);
            cairo_clip(m_context);
            Ink(kQuietInk);
            cairo_move_to(m_context, kLeft, m_y);
            pango_cairo_show_layout(m_context, caption.get());
            cairo_restore(m_context);
        }
        m_y += captionHeight + 8;
    }
    void DrawPixels(const ReportPicture& picture, double width) {
        const Image image = DecodeImage(picture.bytes).image.ToColor();
        const Surface surface(
            cairo_image_surface_create(CAIRO_FORMAT_RGB24, image.GetWidth(), image.GetHeight()));
        Check(cairo_surface_status(surface.get()), "picture");
        cairo_surface_flush(surface.get());
        cv::Mat pixels(image.GetHeight(), image.GetWidth(), CV_8UC4,
                       cairo_image_surface_get_data(surface.get()),
                       static_cast<std::size_t>(cairo_image_surface_get_stride(surface.get())));
        cv::cvtColor(image.GetMat(), pixels, cv::COLOR_BGR2BGRA);
        cairo_surface_mark_dirty(surface.get());
        if (picture.isJpeg) {
            // Goes into the file as it is. The copy belongs to cairo, which frees it when the file is written.
            auto* copy = new std::vector<std::uint8_t>(picture.bytes);
            Check(cairo_surface_set_mime_data(
                      surface.get(), CAIRO_MIME_TYPE_JPEG, copy->data(), copy->size(),
                      [](void* bytes) { delete static_cast<std::vector<std::uint8_t>*>(bytes); }, copy),
                  "picture");
        }
        cairo_scale(m_context, width / image.GetWidth(), width / image.GetWidth());
        cairo_set_source_surface(m_context, surface.get(), 0, 0);
        cairo_paint(m_context);
    }

    cairo_t* m_context;
    const ReportDocument& m_document;
    const OrvJob& m_job;
    bool m_draws;
    std::map<std::string, int> m_pageOf;
    int m_page = 1;
    double m_y = kTop;
};

// What cairo's C code hands the file to; an exception waits until that code has ended.
struct Taker {
    const std::function<void(const char*, std::size_t)>& take;
    std::exception_ptr problem;
    static cairo_status_t Take(void* closure, const unsigned char* data, unsigned int length) {
        auto& taker = *static_cast<Taker*>(closure);
        if (taker.problem) return CAIRO_STATUS_WRITE_ERROR;
        try {
            taker.take(reinterpret_cast<const char*>(data), length);
        } catch (...) {
            taker.problem = std::current_exception();
            return CAIRO_STATUS_WRITE_ERROR;
        }
        return CAIRO_STATUS_SUCCESS;
    }
};

}  // namespace

void WriteReportPdf(const ReportDocument& document, const std::function<void(const char*, std::size_t)>& take,
                    const OrvJob& job) {
    Taker taker{take, nullptr};
    // The measuring run lays out against pages of the same kind, so that nothing moves between the two.
    const Surface draft(cairo_pdf_surface_create_for_stream(nullptr, nullptr, kPageWidth, kPageHeight));
    const Context measuring(cairo_create(draft.get()));
    const std::map<std::string, int> pageOf = Pages(measuring.get(), document, job, false, {}).Run(0.0, 0.3);
    const Surface surface(cairo_pdf_surface_create_for_stream(&Taker::Take, &taker, kPageWidth, kPageHeight));
    cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_TITLE,
                                   ToValidUtf8(document.title).c_str());
    cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_CREATOR, "Orvane");
    // For programs, which do not read what is drawn: where the log stood.
    cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_SUBJECT, document.dateLine.c_str());
    const Context context(cairo_create(surface.get()));
    try {
        Pages(context.get(), document, job, true, pageOf).Run(0.3, 1.0);
    } catch (...) {
        cairo_surface_finish(surface.get());
        if (taker.problem) std::rethrow_exception(taker.problem);
        throw;
    }
    cairo_surface_finish(surface.get());
    if (taker.problem) std::rethrow_exception(taker.problem);
    Check(cairo_surface_status(surface.get()), "end");
}
