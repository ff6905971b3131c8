#include <gtest/gtest.h>

#include <cairo.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/common/TempRoot.h"
#include "tests/common/ToolRun.h"
#include "tools/orvaxctl/CurvePlot.h"

namespace orvan {
namespace {

using test::readFile;
using test::TempRoot;
using test::ToolRun;
using tool::CurvePlot;

struct SurfaceDeleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using SurfacePtr = std::unique_ptr<cairo_surface_t, SurfaceDeleter>;

// The colour of one pixel of a PNG, as 0xRRGGBB.
uint32_t pixel(cairo_surface_t* png, double x, double y) {
    const unsigned char* data = cairo_image_surface_get_data(png);
    const int stride = cairo_image_surface_get_stride(png);
    const uint32_t argb =
            *reinterpret_cast<const uint32_t*>(data + static_cast<int>(y) * stride + static_cast<int>(x) * 4);
    return argb & 0xffffff;
}

CurvePlot::Curve flat(double decibels, uint32_t rgb) {
    return {"flat", {100.0, 1000.0, 10000.0}, {decibels, decibels, decibels}, rgb, false};
}

TEST(CurvePlotTest, TheGainAxisGrowsInSixDecibelStepsToHoldEveryPoint) {
    struct Case {
        double decibels;
        double low;
        double high;
    } cases[] = {{0.0, -12.0, 12.0}, {12.0, -12.0, 18.0}, {20.0, -12.0, 24.0}, {-13.0, -18.0, 12.0},
                 {-36.0, -42.0, 12.0}};
    for (const Case& c : cases) {
        CurvePlot plot("range");
        ASSERT_TRUE(plot.addCurve(flat(c.decibels, 0)));
        EXPECT_EQ(c.low, plot.lowestDecibels()) << c.decibels;
        EXPECT_EQ(c.high, plot.highestDecibels()) << c.decibels;
    }
}

TEST(CurvePlotTest, RefusesACurveWithoutAGainForEveryFrequency) {
    CurvePlot plot("bad");
    EXPECT_FALSE(plot.addCurve({"none", {}, {}, 0, false}));
    EXPECT_FALSE(plot.addCurve({"short", {100.0, 200.0}, {1.0}, 0, false}));
}

// Frequencies run logarithmically, gains upwards, and the drawn curve is where
// the axes say: at 1 kHz and +6 dB, not at -6 dB. The extension, in any case,
// names the format.
TEST(CurvePlotTest, WritesEachCurveAtItsGainOnLogarithmicFrequenciesInTheFormatOfItsExtension) {
    TempRoot root;
    CurvePlot plot("pixels");
    ASSERT_TRUE(plot.addCurve(flat(6.0, 0xff0000)));
    ASSERT_TRUE(plot.addCurve(flat(-9.0, 0x0000ff)));
    // Every decade is as wide as the next, and 20 Hz to 20 kHz fills the picture.
    EXPECT_NEAR(plot.xOf(1000.0) - plot.xOf(100.0), plot.xOf(10000.0) - plot.xOf(1000.0), 1e-9);
    EXPECT_GT(plot.xOf(20.0), 0.0);
    EXPECT_LT(plot.xOf(20000.0), CurvePlot::kWidth);
    EXPECT_LT(plot.yOf(6.0), plot.yOf(-9.0));
    EXPECT_LT(plot.yOf(-12.0), CurvePlot::kHeight);
    const std::string path = root.path() + "/curve.PNG";
    std::string error;
    ASSERT_TRUE(plot.write(path, &error)) << error;

    SurfacePtr png(cairo_image_surface_create_from_png(path.c_str()));
    ASSERT_EQ(CAIRO_STATUS_SUCCESS, cairo_surface_status(png.get()));
    EXPECT_EQ(CurvePlot::kWidth, cairo_image_surface_get_width(png.get()));
    EXPECT_EQ(CurvePlot::kHeight, cairo_image_surface_get_height(png.get()));
    const double x = plot.xOf(1000.0);
    EXPECT_EQ(0xff0000u, pixel(png.get(), x, plot.yOf(6.0)));
    EXPECT_EQ(0x0000ffu, pixel(png.get(), x, plot.yOf(-9.0)));
    EXPECT_NE(0xff0000u, pixel(png.get(), x, plot.yOf(-6.0)));
    EXPECT_NE(0x0000ffu, pixel(png.get(), x, plot.yOf(9.0)));

    const std::string svg = root.path() + "/curve.svg";
    ASSERT_TRUE(plot.write(svg, &error)) << error;
    xmlDoc* document = xmlReadFile(svg.c_str(), nullptr, XML_PARSE_NONET);
    ASSERT_NE(nullptr, document);
    EXPECT_STREQ("svg", reinterpret_cast<const char*>(xmlDocGetRootElement(document)->name));
    xmlFreeDoc(document);

    EXPECT_FALSE(plot.write(root.path() + "/curve.txt", &error));
    EXPECT_NE(std::string::npos, error.find("curve.txt")) << error;
}

class OrvaxctlPlotTest : public test::InstalledRootTest {
protected:
    // Plots into `name` under the root; its bytes, or "" when the run failed.
    std::string plot(const std::string& name, std::vector<std::string> options = {}) {
        const std::string path = mRoot.path() + "/" + name;
        options.insert(options.begin(), {"plot", "-o", path});
        const ToolRun ran = run(options);
        EXPECT_EQ(0, ran.status) << ran.err;
        return ran.status == 0 ? readFile(path) : "";
    }
};

// A plot only reads: the settings database keeps its bytes.
TEST_F(OrvaxctlPlotTest, DrawsWhatTheServiceHoldsAndChangesNothing) {
    run({"status"});
    const std::string database = mRoot.under("/data/vendor/orvan/zel_sqlite3.db");
    const std::string stored = readFile(database);
    const std::string before = plot("before.png");
    EXPECT_EQ(0u, before.rfind("\x89PNG", 0));
    EXPECT_EQ(before, plot("again.png"));
    EXPECT_EQ(stored, readFile(database));

    std::vector<std::string> set = {"set", "110"};
    for (int band = 0; band < 20; ++band) {
        set.push_back(std::to_string(band * 20 - 200));
    }
    ASSERT_EQ(0, run(set).status);
    EXPECT_NE(before, plot("after.png"));
}

// The curves are those of the endpoint that plays the port asked for.
TEST_F(OrvaxctlPlotTest, DrawsTheSettingsOfThePortItNames) {
    ASSERT_EQ(0, run({"select", "1"}).status);
    ASSERT_EQ(0, run({"set", "107", "3", "--port", "headphone"}).status);
    ASSERT_EQ(0, run({"set", "106", "1", "--port", "headphone"}).status);
    const std::string path = mRoot.path() + "/movie.svg";
    EXPECT_EQ(path + ": profile 1 movie on headphone\n  GEQ curve\n  IEQ target: detailed preset, amount 3\n",
              ok({"plot", "--port", "3", "-o", path}));

    const ToolRun speaker = run({"plot", "-o", path});
    EXPECT_EQ(std::string::npos, speaker.out.find("amount 3")) << speaker.out;
    EXPECT_NE(std::string::npos, speaker.out.find("GEQ curve (GEQ off)")) << speaker.out;
}

TEST_F(OrvaxctlPlotTest, APictureThatCannotBeWrittenOrDrawnExitsOne) {
    // PNG and SVG fail at different steps of the write.
    for (const std::string& path : {mRoot.path() + "/no/dir/out.png", mRoot.path() + "/no/dir/out.svg"}) {
        const ToolRun unwritable = run({"plot", "-o", path});
        EXPECT_EQ(1, unwritable.status) << path;
        EXPECT_NE(std::string::npos, unwritable.err.find(path)) << unwritable.err;
    }
    // Profile 2 selects the warm preset, which no output plays while profile 0 is selected.
    const ToolRun notPlayed = run({"plot", "--profile", "2", "--port", "headphone", "-o",
                                               mRoot.path() + "/warm.png"});
    EXPECT_EQ(1, notPlayed.status);
    EXPECT_NE(std::string::npos, notPlayed.err.find("select profile 2 first")) << notPlayed.err;
    ASSERT_EQ(0, run({"select", "2"}).status);
    EXPECT_FALSE(plot("warm.png", {"--profile", "2", "--port", "headphone"}).empty());
}

}  // namespace
}  // namespace orvan
