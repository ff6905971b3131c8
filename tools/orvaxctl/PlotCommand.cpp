#define LOG_TAG "PlotCommand"

#include <log/log.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "engine/TevContext.h"
#include "manager/ClientParameter.h"
#include "model/Parameter.h"
#include "model/Port.h"
#include "service/ClientProtocol.h"
#include "tools/orvaxctl/Commands.h"
#include "tools/orvaxctl/CurvePlot.h"
#include "tools/orvaxctl/ServiceOutput.h"
#include "tools/orvaxctl/ServiceSession.h"

namespace orvan::tool {
namespace {

// Query events of the parameter blob: a client parameter of a profile, and
// of the endpoint that plays a port.

// Engine values are in steps of 1/16 dB: a client's GEQ range of -576..576
// is -36..+36 dB.
constexpr double kStepsPerDecibel = 16.0;

constexpr uint32_t kGeqColor = 0x1f5fbf;
constexpr uint32_t kIeqColor = 0xd9531e;

struct PlotRequest {
    std::string output;
    bool profileGiven = false;
    int32_t profile = 0;
    int32_t port = PORT_INTERNAL_SPEAKER;
};

// Prints the usage error itself.
bool parseRequest(const CommandLine& args, PlotRequest* request) {
    const std::vector<std::string>& positionals = args.positionals();
    if (positionals.size() == 2 && positionals[0] == "-o") {
        request->output = positionals[1];
    } else if (positionals.empty() && args.has("--output")) {
        request->output = args.value("--output");
    } else {
        fail(kExitUsage, "plot: give the picture to write with -o FILE (usage: orvaxctl plot [--profile P] "
                         "[--port PORT] -o FILE)");
        return false;
    }
    CurvePlot::Format format;
    if (!CurvePlot::formatOf(request->output, &format)) {
        fail(kExitUsage, "plot: '%s' ends neither in .svg nor in .png", request->output.c_str());
        return false;
    }
    request->profileGiven = args.has("--profile");
    if (request->profileGiven && !parseInt32(args.value("--profile"), &request->profile)) {
        fail(kExitUsage, "plot: '%s' is not a profile number", args.value("--profile").c_str());
        return false;
    }
    if (args.has("--port")) {
        const std::string text = args.value("--port");
        auto named = std::find(std::begin(kPortNames), std::end(kPortNames), text);
        if (named != std::end(kPortNames)) {
            request->port = static_cast<int32_t>(named - std::begin(kPortNames));
        } else if (!parseInt32(text, &request->port) || request->port < 0 ||
                   request->port >= static_cast<int32_t>(kPortCount)) {
            fail(kExitUsage, "plot: '%s' is not a port (0 to 5 or a port name)", text.c_str());
            return false;
        }
    }
    return true;
}

const ClientParameter& clientParameter(const char* name) {
    // The names are this file's own, all in the table.
    return *ClientParameter::find(name);
}

std::vector<int32_t> profileValue(ServiceSession& session, const char* name, int32_t profile) {
    return session.query(
        {ClientProtocol::eventWord(ClientProtocol::kEventParameter), clientParameter(name).id, profile});
}

// The profile goes in the high nibble of byte 8, the port in the low one.
std::vector<int32_t> portValue(ServiceSession& session, const char* name, int32_t profile, int32_t port) {
    return session.query({ClientProtocol::eventWord(ClientProtocol::kEventPortParameter), clientParameter(name).id,
                          (profile & 0xf) << 4 | (port & 0xf)});
}

// A band list as the engine holds it: the count, the frequencies, the levels.
bool splitBands(const std::vector<int32_t>& values, std::vector<double>* hertz, std::vector<double>* decibels) {
    if (values.empty() || values[0] <= 0 || values.size() != 1 + 2 * static_cast<size_t>(values[0])) {
        return false;
    }
    const size_t count = static_cast<size_t>(values[0]);
    hertz->assign(values.begin() + 1, values.begin() + 1 + count);
    decibels->clear();
    for (size_t i = 0; i < count; ++i) {
        decibels->push_back(values[1 + count + i] / kStepsPerDecibel);
    }
    return true;
}

const EngineRow* findRow(const std::vector<EngineRow>& rows, int32_t device, const char* code) {
    for (const EngineRow& row : rows) {
        if (row.key == device && row.code == code) {
            return &row;
        }
    }
    return nullptr;
}

int plot(ServiceSession& session, PlotRequest request) {
    const int32_t count = session.profileCount();
    if (!request.profileGiven) {
        request.profile = session.selectedProfile();
    }
    if (request.profile < 0 || request.profile >= count) {
        return fail(kExitUsage, "plot: no profile %d (profiles run from 0 to %d)", request.profile, count - 1);
    }
    const std::vector<EngineRow> rows = engineRows(session, nullptr);
    const int32_t device = TevContext::kDeviceForPort.at(static_cast<Port>(request.port));
    const char* portName = kPortNames[request.port];

    // The band frequencies are the engine's; the gains the profile's own, as
    // a client reads them, so any profile can be drawn, selected or not.
    std::vector<double> geqHertz;
    std::vector<double> ignored;
    const EngineRow* geqBands = findRow(rows, DEVICE_ALL, "GEBS");
    if (geqBands == nullptr || !splitBands(geqBands->values, &geqHertz, &ignored)) {
        return fail(kExitRefused, "plot: the engine holds no GEQ bands");
    }
    const std::vector<int32_t> gains = profileValue(session, "geq_gain", request.profile);
    if (gains.size() != geqHertz.size()) {
        return fail(kExitRefused,
                    "plot: profile %d has %zu GEQ gains for the engine's %zu bands (see 'orvaxctl check')",
                    request.profile, gains.size(), geqHertz.size());
    }
    CurvePlot::Curve geq{"", geqHertz, {}, kGeqColor, false};
    for (int32_t gain : gains) {
        geq.decibels.push_back(gain / kStepsPerDecibel);
    }
    const std::vector<int32_t> geqOn = portValue(session, "graphic_equalizer_enable", request.profile, request.port);
    geq.label = std::string("GEQ curve") + (!geqOn.empty() && geqOn[0] == 0 ? " (GEQ off)" : "");

    // The IEQ preset the profile selects on the port; its curve is the one
    // the engine holds for a device that plays that preset now.
    const std::vector<int32_t> preset = portValue(session, "ieq_id", request.profile, request.port);
    const std::vector<int32_t> amount = portValue(session, "ieq_amount", request.profile, request.port);
    if (preset.empty() || preset[0] < 0 || preset[0] >= static_cast<int32_t>(kPresetTypeCount)) {
        return fail(kExitRefused, "plot: the service gives no IEQ preset for profile %d on %s", request.profile,
                    portName);
    }
    std::vector<const EngineRow*> candidates = {findRow(rows, device, "IEBS")};
    for (const EngineRow& row : rows) {
        if (row.code == "IEBS") {
            candidates.push_back(&row);
        }
    }
    CurvePlot::Curve ieq{std::string("IEQ target: ") + kPresetTypeNames[preset[0]] + " preset" +
                                 (amount.empty() ? "" : ", amount " + std::to_string(amount[0])),
                         {}, {}, kIeqColor, true};
    bool found = false;
    for (const EngineRow* row : candidates) {
        const EngineRow* id = row != nullptr ? findRow(rows, row->key, "IEID") : nullptr;
        if (id != nullptr && !id->values.empty() && id->values[0] == preset[0] &&
            splitBands(row->values, &ieq.hertz, &ieq.decibels)) {
            found = true;
            break;
        }
    }
    if (!found) {
        return fail(kExitRefused,
                    "plot: no output plays the %s IEQ preset now, so the engine holds no curve of it; select "
                    "profile %d first",
                    kPresetTypeNames[preset[0]], request.profile);
    }

    const std::string title = "profile " + std::to_string(request.profile) + " " +
                              session.service().getProfileName(request.profile) + " on " + portName;
    CurvePlot picture(title);
    std::string error;
    if (!picture.addCurve(geq) || !picture.addCurve(ieq)) {
        return fail(kExitRefused, "plot: the service gave curves that cannot be drawn");
    }
    if (!picture.write(request.output, &error)) {
        return fail(kExitRefused, "plot: %s", error.c_str());
    }
    std::printf("%s: %s\n  %s\n  %s\n", request.output.c_str(), title.c_str(), geq.label.c_str(), ieq.label.c_str());
    return kExitOk;
}

}  // namespace

int runPlot(const CommandLine& args) {
    PlotRequest request;
    if (!parseRequest(args, &request)) {
        return kExitUsage;
    }
    ServiceSession session;
    std::string error;
    if (!session.start(&error)) {
        return fail(kExitRefused, "%s", error.c_str());
    }
    const int status = plot(session, request);
    // Nothing was changed, so a save that failed changes nothing here.
    session.finish(&error);
    return status;
}

}  // namespace orvan::tool
