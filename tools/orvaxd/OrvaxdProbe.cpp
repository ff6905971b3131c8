#define LOG_TAG "OrvaxdProbe"

// Drives orvaxd from many client processes on the bus that
// DBUS_SESSION_BUS_ADDRESS names: round trips per second of one method, the
// notifications delivered per second to registered clients, and a client
// that stays registered until it is killed. bench/bus-bench.sh and the tests
// run it.

#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "manager/ClientParameter.h"
#include "service/ClientProtocol.h"
#include "tools/orvaxd/OrvaxBus.h"
#include "tools/orvaxd/OrvaxBusClient.h"

namespace {

using orvan::tool::OrvaxBusClient;

constexpr int32_t kDialogEnhancerAmountId = orvan::ClientParameter::find("dialog_enhancer_amount")->id;
constexpr int32_t kSliderSteps = 17;
// The types of the registered clients of 'notify', one per process: the
// service keys clients by uid and type.
constexpr int32_t kFirstListenerType = 100;
constexpr int32_t kStopTag = -1;
constexpr int kIdleTimeoutMs = 10000;

int usage() {
    std::fprintf(stderr,
                 "usage: orvaxd_probe wait SECONDS             wait until a daemon owns the name\n"
                 "       orvaxd_probe rate METHOD N SECONDS    round trips per second from N processes;\n"
                 "                                             METHOD is echo, getint or setparam\n"
                 "       orvaxd_probe notify N SECONDS         notifications delivered per second to N\n"
                 "                                             registered processes while one sets\n"
                 "       orvaxd_probe listen TYPE              register, print each notification in hex\n");
    return 2;
}

double now() {
    timespec t {};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// A set-event 1 blob of the dialog enhancer amount; word 4, which the service
// does not read for this event, carries `tag`.
std::vector<uint8_t> setBlob(int32_t tag, int32_t value) {
    const int32_t words[] = {orvan::ClientProtocol::eventWord(orvan::ClientProtocol::kEventParameter), tag, 0,
                             kDialogEnhancerAmountId, value};
    std::vector<uint8_t> blob;
    for (int32_t word : words) {
        for (int shift = 0; shift < 32; shift += 8) {
            blob.push_back(static_cast<uint8_t>(static_cast<uint32_t>(word) >> shift));
        }
    }
    return blob;
}

int32_t tagOf(const std::vector<uint8_t>& blob) {
    if (blob.size() < 8 || blob[3] != 1) {
        return 0;
    }
    return static_cast<int32_t>(blob[4] | blob[5] << 8 | blob[6] << 16 | static_cast<uint32_t>(blob[7]) << 24);
}

bool connectClient(OrvaxBusClient* client) {
    std::string error;
    if (!client->connect(OrvaxBusClient::Bus::kSession, "", &error)) {
        std::fprintf(stderr, "orvaxd_probe: %s\n", error.c_str());
        return false;
    }
    return true;
}

bool writeAll(int fd, const void* data, size_t size) {
    return write(fd, data, size) == static_cast<ssize_t>(size);
}

bool readAll(int fd, void* data, size_t size) {
    auto* bytes = static_cast<uint8_t*>(data);
    while (size > 0) {
        const ssize_t got = read(fd, bytes, size);
        if (got <= 0) {
            return false;
        }
        bytes += got;
        size -= static_cast<size_t>(got);
    }
    return true;
}

int runWait(double seconds) {
    const double deadline = now() + seconds;
    do {
        OrvaxBusClient client;
        std::string error;
        bool present = false;
        if (client.connect(OrvaxBusClient::Bus::kSession, "", &error) && client.daemonPresent(&present, &error) &&
            present) {
            return 0;
        }
        usleep(20000);
    } while (now() < deadline);
    std::fprintf(stderr, "orvaxd_probe: no daemon owns %s after %.0f s\n", orvan::bus::kBusName, seconds);
    return 1;
}

bool callOnce(OrvaxBusClient& client, const std::string& method, int64_t n, std::string* error) {
    if (method == "echo") {
        static const std::vector<uint8_t> kBlob = {0, 0, 0, 0};
        return client.echo(kBlob, error);
    }
    if (method == "getint") {
        int64_t value = 0;
        return client.getIntParam("DCCP", &value, error);
    }
    return client.setParam(setBlob(0, static_cast<int32_t>(n % kSliderSteps)), error);
}

// Each process connects and warms up, then all start together and call for
// `seconds`; the rate is the sum of their calls over that time.
int runRate(const std::string& method, int processes, double seconds) {
    if (method != "echo" && method != "getint" && method != "setparam") {
        return usage();
    }
    int ready[2];
    int go[2];
    int results[2];
    if (pipe(ready) != 0 || pipe(go) != 0 || pipe(results) != 0) {
        std::perror("orvaxd_probe: pipe");
        return 1;
    }
    std::vector<pid_t> children;
    for (int i = 0; i < processes; ++i) {
        const pid_t pid = fork();
        if (pid == 0) {
            close(go[1]);
            OrvaxBusClient client;
            std::string error;
            int64_t calls = -1;
            if (connectClient(&client) && callOnce(client, method, 0, &error)) {
                calls = 0;
            }
            const char byte = 1;
            writeAll(ready[1], &byte, 1);
            char ignored;
            if (read(go[0], &ignored, 1) < 0) {
                calls = -1;
            }
            const double end = now() + seconds;
            while (calls >= 0 && now() < end) {
                if (!callOnce(client, method, calls, &error)) {
                    std::fprintf(stderr, "orvaxd_probe: %s: %s\n", method.c_str(), error.c_str());
                    calls = -1;
                    break;
                }
                ++calls;
            }
            writeAll(results[1], &calls, sizeof calls);
            _exit(calls >= 0 ? 0 : 1);
        }
        children.push_back(pid);
    }
    close(go[0]);
    for (int i = 0; i < processes; ++i) {
        char byte;
        readAll(ready[0], &byte, 1);
    }
    close(go[1]);  // every child reads the end of the pipe at once
    int64_t total = 0;
    bool failed = false;
    for (int i = 0; i < processes; ++i) {
        int64_t calls = -1;
        if (!readAll(results[0], &calls, sizeof calls) || calls < 0) {
            failed = true;
        } else {
            total += calls;
        }
    }
    for (pid_t pid : children) {
        waitpid(pid, nullptr, 0);
    }
    if (failed) {
        std::fprintf(stderr, "orvaxd_probe: a client of %s failed\n", method.c_str());
        return 1;
    }
    std::printf("%.0f\n", static_cast<double>(total) / seconds);
    return 0;
}

// Listeners register, one sender sets for `seconds` and then sends a stop
// tag; each listener counts the sender's notifications until the stop. The
// rate is every notification delivered over the time until the last listener
// had them all. Prints the rate, then the notifications lost.
int runNotify(int listeners, double seconds) {
    struct Report {
        int64_t received;
        double stoppedAt;
    };
    int ready[2];
    int results[2];
    if (pipe(ready) != 0 || pipe(results) != 0) {
        std::perror("orvaxd_probe: pipe");
        return 1;
    }
    std::vector<pid_t> children;
    for (int i = 0; i < listeners; ++i) {
        const pid_t pid = fork();
        if (pid == 0) {
            OrvaxBusClient client;
            std::string error;
            int64_t received = -1;
            double stoppedAt = 0;
            if (connectClient(&client) && client.registerClient(kFirstListenerType + i, &error)) {
                received = 0;
            } else {
                std::fprintf(stderr, "orvaxd_probe: Register: %s\n", error.c_str());
            }
            const char byte = 1;
            writeAll(ready[1], &byte, 1);
            std::vector<uint8_t> blob;
            while (received >= 0 && client.nextNotification(kIdleTimeoutMs, &blob, &error)) {
                const int32_t tag = tagOf(blob);
                if (tag == kStopTag) {
                    stoppedAt = now();
                    break;
                }
                received += tag > 0 ? 1 : 0;
            }
            if (stoppedAt == 0) {
                received = -1;
            }
            // One write, so that the listeners' reports never interleave.
            const Report report{received, stoppedAt};
            writeAll(results[1], &report, sizeof report);
            _exit(received >= 0 ? 0 : 1);
        }
        children.push_back(pid);
    }
    for (int i = 0; i < listeners; ++i) {
        char byte;
        readAll(ready[0], &byte, 1);
    }
    OrvaxBusClient sender;
    std::string error;
    int64_t sets = 0;
    const double start = now();
    bool sent = connectClient(&sender);
    while (sent && now() < start + seconds) {
        ++sets;
        sent = sender.setParam(setBlob(static_cast<int32_t>(sets), static_cast<int32_t>(sets % kSliderSteps)), &error);
    }
    sent = sent && sender.setParam(setBlob(kStopTag, 0), &error);
    if (!sent) {
        std::fprintf(stderr, "orvaxd_probe: SetParam: %s\n", error.c_str());
    }
    int64_t delivered = 0;
    double last = start;
    bool failed = !sent;
    for (int i = 0; i < listeners; ++i) {
        Report report{-1, 0};
        if (!readAll(results[0], &report, sizeof report) || report.received < 0) {
            failed = true;
            continue;
        }
        delivered += report.received;
        last = std::max(last, report.stoppedAt);
    }
    for (pid_t pid : children) {
        waitpid(pid, nullptr, 0);
    }
    if (failed) {
        std::fprintf(stderr, "orvaxd_probe: a listener did not hear the end of the run\n");
        return 1;
    }
    std::printf("%.0f %" PRId64 "\n", static_cast<double>(delivered) / (last - start), sets * listeners - delivered);
    return 0;
}

int runListen(int32_t type) {
    OrvaxBusClient client;
    std::string error;
    if (!connectClient(&client)) {
        return 1;
    }
    if (!client.registerClient(type, &error)) {
        std::fprintf(stderr, "orvaxd_probe: Register: %s\n", error.c_str());
        return 1;
    }
    std::printf("registered %s\n", client.uniqueName().c_str());
    std::fflush(stdout);
    std::vector<uint8_t> blob;
    while (client.nextNotification(-1, &blob, &error)) {
        for (uint8_t byte : blob) {
            std::printf("%02x", byte);
        }
        std::printf("\n");
        std::fflush(stdout);
    }
    std::fprintf(stderr, "orvaxd_probe: %s\n", error.c_str());
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.size() == 2 && args[0] == "wait") {
        return runWait(std::atof(args[1].c_str()));
    }
    if (args.size() == 4 && args[0] == "rate") {
        return runRate(args[1], std::atoi(args[2].c_str()), std::atof(args[3].c_str()));
    }
    if (args.size() == 3 && args[0] == "notify") {
        return runNotify(std::atoi(args[1].c_str()), std::atof(args[2].c_str()));
    }
    if (args.size() == 2 && args[0] == "listen") {
        return runListen(std::atoi(args[1].c_str()));
    }
    return usage();
}
