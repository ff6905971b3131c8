#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/common/TempRoot.h"
#include "tuningfile/ParseDiagnostics.h"
#include "tuningfile/TuningFileParser.h"

namespace orvan {
namespace {

using Severity = ParseDiagnostics::Severity;
using test::TempRoot;

constexpr Severity W = Severity::WARNING;
constexpr Severity E = Severity::ERROR;

struct Collector : ParseDiagnostics {
    void report(const Report& report) override { reports.push_back(report); }
    std::vector<Report> reports;
};

// The root stands on line 2 and the version on line 3, so the first line of
// a case's body is line 4.
std::string tuningFile(const std::string& body, bool withVersion = true) {
    return std::string("<?xml version=\"1.0\"?>\n<orvan_tuning>\n") +
           (withVersion ? "<format_version major=\"1\" minor=\"0\" maintenance=\"0\"/>\n" : "<!-- -->\n") + body +
           "</orvan_tuning>\n";
}

struct Case {
    const char* name;
    std::string body;
    int line;
    Severity severity;
    const char* rule;
    // Where another report of the same rule stands on the line: a part of the message.
    const char* says = "";
    bool withVersion = true;
};

constexpr const char* kEndpoint = "<profile id=\"0\" name=\"a\">\n<endpoint_type id=\"speaker\">\n";

// Each kind of thing the loader skips, rejects, drops, reads otherwise than
// written or fills in is reported at its element's line, under its rule.
TEST(ParseDiagnosticsTest, EachSkipOrRejectIsReportedAtItsLine) {
    const std::string endpoint = kEndpoint;
    const std::string data = "<tuning name=\"t\">\n<data>\n";
    const Case cases[] = {
        {"element outside any record", "<frob/>\n", 4, W, "element"},
        {"GEQ preset id that is no profile", "<preset id=\"x\" type=\"geq\"/>\n", 4, E, "preset"},
        {"second GEQ preset of a profile", "<preset id=\"0\" type=\"geq\"/>\n<preset id=\"0\" type=\"geq\"/>\n", 5, E,
         "preset"},
        {"IEQ preset id naming no type", "<preset id=\"flat\" type=\"ieq\"/>\n", 4, W, "preset"},
        {"IEQ preset id naming two types", "<preset id=\"warm_off\" type=\"ieq\"/>\n", 4, W, "preset"},
        {"two IEQ presets of one type", "<preset id=\"warm\" type=\"ieq\"/>\n<preset id=\"warm2\" type=\"ieq\"/>\n", 5,
         E, "preset"},
        {"preset body of another type", "<preset id=\"0\" type=\"geq\">\n<ieq/>\n</preset>\n", 5, E, "preset"},
        {"unknown preset type", "<preset id=\"0\" type=\"xeq\"/>\n", 4, E, "attribute"},
        {"profile id used twice", "<profile id=\"0\" name=\"a\"/>\n<profile id=\"0\" name=\"b\"/>\n", 5, E, "profile",
         "used again"},
        {"profile ids with a gap", "<profile id=\"1\" name=\"a\"/>\n", 4, E, "profile"},
        {"profile id that is no number", "<profile id=\"one\" name=\"a\"/>\n", 4, E, "attribute"},
        {"profile without an endpoint", "<profile id=\"0\" name=\"a\"/>\n", 4, E, "profile"},
        {"endpoint given twice",
         "<profile id=\"0\" name=\"a\">\n<endpoint_type id=\"speaker\"/>\n<endpoint_type id=\"speaker\"/>\n</profile>\n",
         6, E, "profile"},
        {"unknown endpoint", "<profile id=\"0\" name=\"a\">\n<endpoint_type id=\"ear\"/>\n</profile>\n", 5, W,
         "attribute"},
        {"endpoint without include", "<profile id=\"0\" name=\"a\">\n<endpoint_type id=\"speaker\"/>\n</profile>\n", 5,
         W, "include"},
        {"include naming no preset",
         (endpoint + "<include preset=\"balanced\"/>\n</endpoint_type>\n</profile>\n"), 6, W, "include"},
        {"parameter given twice",
         (endpoint + "<ieq-amount value=\"1\"/>\n<ieq-amount value=\"2\"/>\n</endpoint_type>\n</profile>\n"), 7,
         W, "duplicate"},
        {"parameter missing from a record", (endpoint + "</endpoint_type>\n</profile>\n"), 5, W, "missing"},
        {"scalar that is no number",
         (endpoint + "<ieq-amount value=\"loud\"/>\n</endpoint_type>\n</profile>\n"), 6, W, "number"},
        {"parameter of another record",
         (endpoint + "<output-mode value=\"1\"/>\n</endpoint_type>\n</profile>\n"), 6, W, "element"},
        {"element that is no parameter", (endpoint + "<frob/>\n</endpoint_type>\n</profile>\n"), 6, W,
         "element"},
        {"tuning name used twice", "<tuning name=\"t\"><data/></tuning>\n<tuning name=\"t\"><data/></tuning>\n", 5, E,
         "duplicate"},
        {"device given twice",
         "<tuning name=\"t\">\n<device_id id=\"d\"/>\n<device_id id=\"d\"/>\n<data/>\n</tuning>\n", 6, E, "duplicate"},
        {"tuning without data", "<tuning name=\"t\"/>\n", 4, E, "element"},
        {"second data of a tuning", "<tuning name=\"t\">\n<data/>\n<data/>\n</tuning>\n", 6, W, "element"},
        {"orientation beyond 32 bits", "<tuning name=\"t\" orientation=\"99999999999\"><data/></tuning>\n", 4, E,
         "value"},
        {"output channels that stop early", "<tuning name=\"t\" output_channels=\"1,,2\"><data/></tuning>\n", 4, W,
         "number"},
        {"matrix rows of two lengths", (data + "<output-mode value=\"1,2;3\"/>\n</data>\n</tuning>\n"), 6, E,
         "value"},
        {"row number beyond 32 bits",
         (data + "<bass-mbdrc-tuning value=\"1,99999999999\"/>\n</data>\n</tuning>\n"), 6, E, "value"},
        {"row that stops early", (data + "<bass-mbdrc-tuning value=\"1,,2\"/>\n</data>\n</tuning>\n"), 6, W,
         "number"},
        {"DRC metadata without numbers", "<profile id=\"0\" name=\"a\">\n<drc-metadata value=\"\"/>\n</profile>\n", 5,
         W, "number"},
        {"sub-gain that is no number",
         (data + "<virtual-bass-subgains gain_1=\"loud\"/>\n</data>\n</tuning>\n"), 6, E, "value"},
        {"sub-gains without a gain", (data + "<virtual-bass-subgains/>\n</data>\n</tuning>\n"), 6, E, "value"},
        {"IEQ band of another name", "<preset id=\"off\" type=\"ieq\">\n<ieq>\n<band/>\n</ieq>\n</preset>\n", 6, W,
         "element"},
        {"no format version", "", 2, E, "version", "", false},
        {"format version twice", "<format_version major=\"1\" minor=\"1\" maintenance=\"0\"/>\n", 2, W, "version"},
    };
    for (const Case& c : cases) {
        TempRoot root;
        const std::string path = test::writeFile(root, "t.xml", tuningFile(c.body, c.withVersion));
        Collector collector;
        TuningFileParser parser;
        parser.setDiagnostics(&collector);
        ASSERT_EQ(0, parser.setTuningFile(path)) << c.name;
        bool found = false;
        std::string all;
        for (const ParseDiagnostics::Report& report : collector.reports) {
            found = found || (report.line == c.line && report.severity == c.severity && report.rule == c.rule &&
                              report.file == path && report.message.find(c.says) != std::string::npos);
            all += "  " + std::to_string(report.line) + " [" + report.rule + "] " + report.message + "\n";
        }
        EXPECT_TRUE(found) << c.name << ": expected line " << c.line << " [" << c.rule << "], got\n" << all;
    }
}

}  // namespace
}  // namespace orvan
