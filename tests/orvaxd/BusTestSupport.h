#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "manager/ClientParameter.h"
#include "service/ClientProtocol.h"
#include "tests/common/TempRoot.h"
#include "tests/common/ToolRun.h"
#include "tools/orvaxd/OrvaxBus.h"
#include "tools/orvaxd/OrvaxBusClient.h"

namespace orvan::test {

// Polls `done` every 10 ms for up to `patience`.
template <typename Condition>
bool eventually(Condition done, std::chrono::milliseconds patience = std::chrono::milliseconds(5000)) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

// A process the test started; killed and reaped when the object goes, also
// when the test fails half-way.
class ChildProcess {
public:
    ChildProcess() = default;
    ~ChildProcess() { kill(SIGKILL, std::chrono::milliseconds(5000)); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Runs `argv` with `environment` ("NAME=value") added, its output appended
    // to `outPath` and `errPath`.
    bool start(const std::vector<std::string>& argv, const std::vector<std::string>& environment,
               const std::string& outPath, const std::string& errPath) {
        mPid = fork();
        if (mPid == 0) {
            for (const std::string& setting : environment) {
                putenv(const_cast<char*>(setting.c_str()));
            }
            const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
            const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
            dup2(out, STDOUT_FILENO);
            dup2(err, STDERR_FILENO);
            std::vector<char*> args;
            for (const std::string& arg : argv) {
                args.push_back(const_cast<char*>(arg.c_str()));
            }
            args.push_back(nullptr);
            execvp(args[0], args.data());
            _exit(127);
        }
        return mPid > 0;
    }

    bool running() {
        int status = 0;
        if (mPid > 0 && waitpid(mPid, &status, WNOHANG) == mPid) {
            mPid = -1;
            mStatus = status;
        }
        return mPid > 0;
    }

    // Sends `signal` and reaps the process, with SIGKILL after `patience`.
    // The exit status, or -1 when a signal ended it.
    int kill(int signal, std::chrono::milliseconds patience) {
        if (running()) {
            ::kill(mPid, signal);
        }
        if (!eventually([this] { return !running(); }, patience)) {
            ::kill(mPid, SIGKILL);
            waitpid(mPid, &mStatus, 0);
            mPid = -1;
        }
        return WIFEXITED(mStatus) ? WEXITSTATUS(mStatus) : -1;
    }

private:
    pid_t mPid = -1;
    int mStatus = 0;
};

// A bus of the test's own: a dbus-daemon with the session configuration, or
// with the configuration file `config`.
class PrivateBus {
public:
    explicit PrivateBus(const std::string& directory, const std::string& config = "")
        : mAddressFile(directory + "/bus.address") {
        mDaemon.start({"dbus-daemon", config.empty() ? "--session" : "--config-file=" + config, "--nofork",
                       "--print-address"},
                      {}, mAddressFile, directory + "/bus.log");
        eventually([this] {
            const std::string text = readFile(mAddressFile);
            if (text.find('\n') == std::string::npos) {
                return false;
            }
            mAddress = text.substr(0, text.find('\n'));
            return true;
        });
    }
    const std::string& address() const { return mAddress; }

private:
    ChildProcess mDaemon;
    std::string mAddressFile;
    std::string mAddress;
};

// An OrvaxBusClient on the bus, connected or failing the test.
inline void connectTo(const PrivateBus& bus, tool::OrvaxBusClient* client) {
    std::string error;
    ASSERT_TRUE(client->connect(tool::OrvaxBusClient::Bus::kSession, bus.address(), &error)) << error;
}

// orvaxd serving `root` on `bus` as the session or the system bus, its log in the root.
class Daemon {
public:
    using Kind = tool::OrvaxBusClient::Bus;
    Daemon(const PrivateBus& bus, const TempRoot& root, Kind kind = Kind::kSession)
        : mBus(bus), mRoot(root), mKind(kind) {}

    // Starts it and waits until it owns the name.
    bool start() {
        const std::string log = logPath();
        const bool system = mKind == Kind::kSystem;
        if (!mProcess.start({ORVAXD_PATH, "--root", mRoot.path(), system ? "--system" : "--session"},
                            {(system ? "DBUS_SYSTEM_BUS_ADDRESS=" : "DBUS_SESSION_BUS_ADDRESS=") + mBus.address()},
                            log, log)) {
            return false;
        }
        tool::OrvaxBusClient client;
        std::string error;
        if (!client.connect(mKind, mBus.address(), &error)) {
            return false;
        }
        return eventually(
                [&] {
                    bool present = false;
                    return !mProcess.running() || (client.daemonPresent(&present, &error) && present);
                },
                std::chrono::milliseconds(20000)) &&
               mProcess.running();
    }
    ChildProcess& process() { return mProcess; }
    std::string logPath() const { return mRoot.path() + "/orvaxd.log"; }
    std::string log() const { return readFile(logPath()); }

private:
    const PrivateBus& mBus;
    const TempRoot& mRoot;
    const Kind mKind;
    ChildProcess mProcess;
};

// `gdbus call` of a method of the daemon's interface, run through `runAs`
// (such as setpriv) when given.
inline ToolRun gdbusCall(const TempRoot& root, const PrivateBus& bus, const std::string& member,
                         const std::vector<std::string>& args, std::vector<std::string> runAs = {}) {
    std::vector<std::string> argv = std::move(runAs);
    argv.insert(argv.end(), {"gdbus", "call", "--address", bus.address(), "--dest", bus::kBusName, "--object-path",
                             bus::kObjectPath, "--method", std::string(bus::kInterface) + "." + member});
    argv.insert(argv.end(), args.begin(), args.end());
    return runCommand(root.path(), argv);
}

// `dbus-send` of a method call, arguments as TYPE:VALUE.
inline ToolRun dbusSend(const TempRoot& root, const PrivateBus& bus, const std::string& member,
                        const std::vector<std::string>& args) {
    std::vector<std::string> argv = {"dbus-send", "--bus=" + bus.address(), "--print-reply",
                                     "--dest=" + std::string(bus::kBusName), bus::kObjectPath,
                                     std::string(bus::kInterface) + "." + member};
    argv.insert(argv.end(), args.begin(), args.end());
    return runCommand(root.path(), argv);
}

// A set-event 1 blob: dialog enhancer amount of profile 0 to `value`; word 4,
// which the service does not read for this event, carries `tag`.
inline std::vector<uint8_t> amountBlob(int32_t tag, int32_t value) {
    const int32_t words[] = {ClientProtocol::eventWord(ClientProtocol::kEventParameter), tag, 0,
                             ClientParameter::find("dialog_enhancer_amount")->id, value};
    std::vector<uint8_t> blob;
    for (int32_t word : words) {
        for (int shift = 0; shift < 32; shift += 8) {
            blob.push_back(static_cast<uint8_t>(static_cast<uint32_t>(word) >> shift));
        }
    }
    return blob;
}

// The tag of a blob made by amountBlob(), or 0.
inline int32_t tagOf(const std::vector<uint8_t>& blob) {
    if (blob.size() < 8 || blob[3] != 1) {
        return 0;
    }
    return static_cast<int32_t>(blob[4] | blob[5] << 8 | blob[6] << 16 | static_cast<uint32_t>(blob[7]) << 24);
}

// `bytes` as gdbus writes a byte array, "[byte 0, 1]", or, with `dbusSend`,
// as dbus-send takes them, "array:byte:0,1".
inline std::string gvariantBytes(const std::vector<uint8_t>& bytes, bool dbusSend = false) {
    std::string text = dbusSend ? "array:byte:" : "[byte ";
    for (size_t i = 0; i < bytes.size(); ++i) {
        text += (i == 0 ? "" : dbusSend ? "," : ", ") + std::to_string(bytes[i]);
    }
    return dbusSend ? text : text + "]";
}

}  // namespace orvan::test
