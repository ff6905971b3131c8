#define LOG_TAG "CurvePlot"

#include "tools/orvaxctl/CurvePlot.h"

#include <cairo-svg.h>
#include <cairo.h>
#include <log/log.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <memory>
#include <utility>

namespace orvan::tool {
namespace {

struct SurfaceDeleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct ContextDeleter {
    void operator()(cairo_t* cr) const { cairo_destroy(cr); }
};
using SurfacePtr = std::unique_ptr<cairo_surface_t, SurfaceDeleter>;
using ContextPtr = std::unique_ptr<cairo_t, ContextDeleter>;

// The plot area inside the picture; the rest holds the title, ticks and labels.
constexpr double kLeft = 72.0;
constexpr double kRight = CurvePlot::kWidth - 40.0;
constexpr double kTop = 44.0;
constexpr double kBottom = CurvePlot::kHeight - 90.0;
constexpr double kDbStep = 6.0;

void setColor(cairo_t* cr, uint32_t rgb) {
    cairo_set_source_rgb(cr, ((rgb >> 16) & 0xff) / 255.0, ((rgb >> 8) & 0xff) / 255.0, (rgb & 0xff) / 255.0);
}

// Text with its reference point placed by `alignX` (0 left, 0.5 centre, 1
// right) and `alignY` (0 top, 0.5 middle, 1 baseline).
void text(cairo_t* cr, double x, double y, const std::string& words, double alignX, double alignY) {
    cairo_text_extents_t extents;
    cairo_text_extents(cr, words.c_str(), &extents);
    cairo_move_to(cr, x - extents.x_advance * alignX, y - extents.y_bearing * (1.0 - alignY));
    cairo_show_text(cr, words.c_str());
}

std::string hertzLabel(double hertz) {
    const long rounded = std::lround(hertz);
    return rounded >= 1000 ? std::to_string(rounded / 1000) + " kHz" : std::to_string(rounded) + " Hz";
}

std::string decibelLabel(double decibels) {
    const long rounded = std::lround(decibels);
    return (rounded > 0 ? "+" : "") + std::to_string(rounded);
}

}  // namespace

CurvePlot::CurvePlot(std::string title) : mTitle(std::move(title)) {}

bool CurvePlot::addCurve(Curve curve) {
    if (curve.hertz.empty() || curve.decibels.size() < curve.hertz.size()) {
        ALOGE("curve %s has %zu frequencies and %zu gains", curve.label.c_str(), curve.hertz.size(),
              curve.decibels.size());
        return false;
    }
    curve.decibels.resize(curve.hertz.size());
    for (double decibels : curve.decibels) {
        // Half a dB of room, so that no point sits on the frame.
        mLowDb = std::min(mLowDb, std::floor((decibels - 0.5) / kDbStep) * kDbStep);
        mHighDb = std::max(mHighDb, std::ceil((decibels + 0.5) / kDbStep) * kDbStep);
    }
    mCurves.push_back(std::move(curve));
    return true;
}

bool CurvePlot::formatOf(const std::string& path, Format* format) {
    const size_t dot = path.rfind('.');
    std::string extension = dot == std::string::npos ? "" : path.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == "svg") {
        *format = Format::SVG;
    } else if (extension == "png") {
        *format = Format::PNG;
    } else {
        return false;
    }
    return true;
}

double CurvePlot::xOf(double hertz) const {
    const double position = std::log10(hertz / kLowHertz) / std::log10(kHighHertz / kLowHertz);
    return kLeft + position * (kRight - kLeft);
}

double CurvePlot::yOf(double decibels) const {
    return kBottom - (decibels - mLowDb) / (mHighDb - mLowDb) * (kBottom - kTop);
}

void CurvePlot::draw(cairo_t* cr) const {
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);

    // Grid: every 6 dB, and at 1 to 9 times each decade, the decades darker.
    cairo_set_line_width(cr, 1.0);
    for (double db = mLowDb; db <= mHighDb + 1e-9; db += kDbStep) {
        setColor(cr, db == 0.0 ? 0x808080 : 0xdddddd);
        cairo_move_to(cr, kLeft, yOf(db));
        cairo_line_to(cr, kRight, yOf(db));
        cairo_stroke(cr);
    }
    for (double decade = 10.0; decade < kHighHertz; decade *= 10.0) {
        for (int step = 1; step <= 9; ++step) {
            const double hertz = decade * step;
            if (hertz < kLowHertz || hertz > kHighHertz) {
                continue;
            }
            setColor(cr, step == 1 ? 0xb0b0b0 : 0xeeeeee);
            cairo_move_to(cr, xOf(hertz), kTop);
            cairo_line_to(cr, xOf(hertz), kBottom);
            cairo_stroke(cr);
        }
    }

    // Axes, ticks and their labels.
    setColor(cr, 0x000000);
    cairo_rectangle(cr, kLeft, kTop, kRight - kLeft, kBottom - kTop);
    cairo_stroke(cr);
    cairo_set_font_size(cr, 12.0);
    for (double hertz : {20.0, 100.0, 1000.0, 10000.0, 20000.0}) {
        const bool decade = hertz == 100.0 || hertz == 1000.0 || hertz == 10000.0;
        cairo_move_to(cr, xOf(hertz), kBottom);
        cairo_line_to(cr, xOf(hertz), kBottom + (decade ? 8.0 : 4.0));
        cairo_stroke(cr);
        text(cr, xOf(hertz), kBottom + 12.0, hertzLabel(hertz), 0.5, 0.0);
    }
    for (double db = mLowDb; db <= mHighDb + 1e-9; db += kDbStep) {
        cairo_move_to(cr, kLeft - 6.0, yOf(db));
        cairo_line_to(cr, kLeft, yOf(db));
        cairo_stroke(cr);
        text(cr, kLeft - 9.0, yOf(db), decibelLabel(db), 1.0, 0.5);
    }
    cairo_set_font_size(cr, 13.0);
    text(cr, (kLeft + kRight) / 2.0, kBottom + 46.0, "frequency (Hz)", 0.5, 1.0);
    cairo_save(cr);
    cairo_translate(cr, 22.0, (kTop + kBottom) / 2.0);
    cairo_rotate(cr, -M_PI / 2.0);
    text(cr, 0.0, 0.0, "gain (dB)", 0.5, 0.5);
    cairo_restore(cr);
    cairo_set_font_size(cr, 15.0);
    text(cr, (kLeft + kRight) / 2.0, 28.0, mTitle, 0.5, 1.0);

    // The curves, clipped to the plot area, each point marked.
    cairo_save(cr);
    cairo_rectangle(cr, kLeft, kTop, kRight - kLeft, kBottom - kTop);
    cairo_clip(cr);
    for (const Curve& curve : mCurves) {
        setColor(cr, curve.rgb);
        cairo_set_line_width(cr, 2.5);
        const double dashes[] = {8.0, 5.0};
        cairo_set_dash(cr, dashes, curve.dashed ? 2 : 0, 0.0);
        for (size_t i = 0; i < curve.hertz.size(); ++i) {
            cairo_line_to(cr, xOf(curve.hertz[i]), yOf(curve.decibels[i]));
        }
        cairo_stroke(cr);
        cairo_set_dash(cr, nullptr, 0, 0.0);
        for (size_t i = 0; i < curve.hertz.size(); ++i) {
            cairo_arc(cr, xOf(curve.hertz[i]), yOf(curve.decibels[i]), 3.5, 0.0, 2.0 * M_PI);
            cairo_fill(cr);
        }
    }
    cairo_restore(cr);

    // The legend, in one row under the axis label, where no curve can hide it.
    cairo_set_font_size(cr, 12.0);
    double x = kLeft;
    const double y = kHeight - 14.0;
    for (const Curve& curve : mCurves) {
        setColor(cr, curve.rgb);
        cairo_set_line_width(cr, 2.5);
        const double dashes[] = {8.0, 5.0};
        cairo_set_dash(cr, dashes, curve.dashed ? 2 : 0, 0.0);
        cairo_move_to(cr, x, y);
        cairo_line_to(cr, x + 28.0, y);
        cairo_stroke(cr);
        cairo_set_dash(cr, nullptr, 0, 0.0);
        setColor(cr, 0x000000);
        cairo_text_extents_t extents;
        cairo_text_extents(cr, curve.label.c_str(), &extents);
        text(cr, x + 34.0, y, curve.label, 0.0, 0.5);
        x += 34.0 + extents.x_advance + 28.0;
    }
}

bool CurvePlot::write(const std::string& path, std::string* error) const {
    Format format = Format::PNG;
    if (!formatOf(path, &format)) {
        *error = path + ": the extension is neither .svg nor .png";
        ALOGE("%s", error->c_str());
        return false;
    }
    SurfacePtr surface(format == Format::SVG ? cairo_svg_surface_create(path.c_str(), kWidth, kHeight)
                                             : cairo_image_surface_create(CAIRO_FORMAT_RGB24, kWidth, kHeight));
    cairo_status_t status = cairo_surface_status(surface.get());
    if (status == CAIRO_STATUS_SUCCESS) {
        ContextPtr cr(cairo_create(surface.get()));
        draw(cr.get());
        status = cairo_status(cr.get());
    }
    if (status == CAIRO_STATUS_SUCCESS && format == Format::PNG) {
        status = cairo_surface_write_to_png(surface.get(), path.c_str());
    }
    // An SVG surface writes as it finishes; its errors show only then.
    cairo_surface_finish(surface.get());
    if (status == CAIRO_STATUS_SUCCESS) {
        status = cairo_surface_status(surface.get());
    }
    if (status != CAIRO_STATUS_SUCCESS) {
        *error = "cannot write " + path + ": " + cairo_status_to_string(status);
        ALOGE("%s", error->c_str());
        return false;
    }
    return true;
}

}  // namespace orvan::tool
