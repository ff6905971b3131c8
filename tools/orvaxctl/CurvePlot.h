#pragma once

#include <cstdint>
#include <string>
#include <vector>

// cairo stays out of our headers.
struct _cairo;

namespace orvan::tool {

// Draws gain curves over frequency with cairo, headless: frequency on a
// logarithmic axis from 20 Hz to 20 kHz with decade ticks, gain in dB on a
// linear axis that grows in 6 dB steps to hold every point with half a dB
// to spare (at least -12..+12 dB); the legend under it. Written as SVG or PNG, chosen by the file's extension.
class CurvePlot {
public:
    enum class Format { SVG, PNG };

    struct Curve {
        std::string label;
        std::vector<double> hertz;
        std::vector<double> decibels;  // one per frequency
        uint32_t rgb;                  // 0xRRGGBB
        bool dashed;
    };

    static constexpr int kWidth = 800;
    static constexpr int kHeight = 500;
    static constexpr double kLowHertz = 20.0;
    static constexpr double kHighHertz = 20000.0;

    explicit CurvePlot(std::string title);

    // False for a curve without points or with fewer gains than frequencies.
    bool addCurve(Curve curve);
    // By the extension (.svg or .png, in any case); false for another.
    static bool formatOf(const std::string& path, Format* format);
    // False, with `error` naming the file and cairo's reason, when the file
    // could not be written.
    bool write(const std::string& path, std::string* error) const;

    // Where a point lands in the picture, in pixels from the top left.
    double xOf(double hertz) const;
    double yOf(double decibels) const;
    double lowestDecibels() const { return mLowDb; }
    double highestDecibels() const { return mHighDb; }

private:
    void draw(_cairo* cr) const;

    std::string mTitle;
    std::vector<Curve> mCurves;
    double mLowDb = -12.0;
    double mHighDb = 12.0;
};

}  // namespace orvan::tool
