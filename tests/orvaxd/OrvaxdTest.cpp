#include <grp.h>
#include <unistd.h>

#include <map>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/orvaxd/BusTestSupport.h"

namespace orvan::test {
namespace {

using tool::OrvaxBusClient;
using namespace std::chrono_literals;

// A private bus, a root with the bundled tuning files and orvaxd serving it.
class OrvaxdTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(mBus.address().empty()) << "dbus-daemon gave no address: " << readFile(mRoot.path() + "/bus.log");
        ASSERT_EQ(orvaxctl(mRoot.path(), {"install"}).status, 0);
        ASSERT_TRUE(mDaemon->start()) << mDaemon->log();
    }

    int32_t storedAmount() {
        OrvaxBusClient client;
        connectTo(mBus, &client);
        std::vector<uint8_t> answer;
        std::string error;
        // Event 1 asks for a parameter of profile 0: id 108 is the dialog enhancer amount.
        EXPECT_TRUE(client.getParam({0, 0, 0, 1, 108, 0, 0, 0, 0, 0, 0, 0}, 4, &answer, &error)) << error;
        return answer.size() == 4 ? tagOf({0, 0, 0, 1, answer[0], answer[1], answer[2], answer[3]}) : -1;
    }

    int64_t intParam(OrvaxBusClient& client, const std::string& code) {
        int64_t value = -1;
        std::string error;
        EXPECT_TRUE(client.getIntParam(code, &value, &error)) << error;
        return value;
    }

    TempRoot mRoot;
    PrivateBus mBus{mRoot.path()};
    std::unique_ptr<Daemon> mDaemon = std::make_unique<Daemon>(mBus, mRoot);
};

TEST_F(OrvaxdTest, EveryRegisteredClientHearsEachChangeOfFourSendersOnce) {
    constexpr int kInProcessSets = 25;
    constexpr int kToolSets = 8;
    OrvaxBusClient first;
    OrvaxBusClient second;
    connectTo(mBus, &first);
    connectTo(mBus, &second);
    // A bystander that asks for the daemon's signals: a broadcast would reach it.
    ChildProcess bystander;
    const std::string overheard = mRoot.path() + "/monitor.out";
    ASSERT_TRUE(bystander.start({"gdbus", "monitor", "--address", mBus.address(), "--dest", bus::kBusName}, {},
                                overheard, mRoot.path() + "/monitor.err"));
    ASSERT_TRUE(eventually([&] { return !readFile(overheard).empty(); }));
    std::string error;
    ASSERT_TRUE(first.registerClient(0, &error)) << error;
    ASSERT_TRUE(second.registerClient(5, &error)) << error;

    // Two senders in this process, one through gdbus and one through dbus-send;
    // each tag is to be heard once.
    std::map<int32_t, int> expected;
    std::vector<std::thread> senders;
    for (int sender = 1; sender <= 4; ++sender) {
        const int count = sender <= 2 ? kInProcessSets : kToolSets;
        for (int i = 0; i < count; ++i) {
            expected[sender << 8 | i] = 1;
        }
        senders.emplace_back([this, sender, count] {
            OrvaxBusClient client;
            if (sender <= 2) {
                connectTo(mBus, &client);
            }
            for (int i = 0; i < count; ++i) {
                const std::vector<uint8_t> blob = amountBlob(sender << 8 | i, i % 17);
                std::string failure;
                if (sender <= 2) {
                    EXPECT_TRUE(client.setParam(blob, &failure)) << failure;
                } else if (sender == 3) {
                    EXPECT_EQ(gdbusCall(mRoot, mBus, "SetParam", {gvariantBytes(blob)}).status, 0);
                } else {
                    EXPECT_EQ(dbusSend(mRoot, mBus, "SetParam", {gvariantBytes(blob, true)}).status, 0);
                }
            }
        });
    }
    for (std::thread& sender : senders) {
        sender.join();
    }

    for (OrvaxBusClient* listener : {&first, &second}) {
        std::map<int32_t, int> heard;
        std::vector<uint8_t> blob;
        // Until every change arrived, then a while longer for any repeat.
        bool all = false;
        while (listener->nextNotification(all ? 300 : 5000, &blob, &error)) {
            if (tagOf(blob) != 0) {
                ++heard[tagOf(blob)];
            }
            all = all || heard.size() == expected.size();
        }
        EXPECT_TRUE(error.empty()) << error;
        EXPECT_EQ(heard, expected);
    }
    EXPECT_EQ(readFile(overheard).find(bus::kParamChanged), std::string::npos) << readFile(overheard);
}

TEST_F(OrvaxdTest, ClientKilledWithSigkillStopsCountingAndIsNeverCalledAgain) {
    // A codec client (type 1) in a process of its own.
    ChildProcess listener;
    const std::string heard = mRoot.path() + "/listener.out";
    ASSERT_TRUE(listener.start({ORVAXD_PROBE_PATH, "listen", "1"}, {"DBUS_SESSION_BUS_ADDRESS=" + mBus.address()},
                               heard, mRoot.path() + "/listener.err"));
    ASSERT_TRUE(eventually([&] { return readFile(heard).find("registered") != std::string::npos; }))
            << readFile(mRoot.path() + "/listener.err");
    OrvaxBusClient client;
    connectTo(mBus, &client);
    EXPECT_EQ(intParam(client, "DCCP"), 1);

    // The same type from this process is refused: the uid is the bus's, the same in both.
    std::string error;
    EXPECT_FALSE(client.registerClient(1, &error));
    EXPECT_NE(error.find(bus::kErrorAlreadyRegistered), std::string::npos) << error;
    EXPECT_NE(error.find("uid " + std::to_string(getuid())), std::string::npos) << error;

    listener.kill(SIGKILL, 5000ms);
    EXPECT_TRUE(eventually([&] { return intParam(client, "DCCP") == 0; })) << mDaemon->log();
    ASSERT_TRUE(client.setParam(amountBlob(7, 3), &error)) << error;
    EXPECT_TRUE(client.save(&error)) << error;
    EXPECT_EQ(mDaemon->log().find("Call client failed"), std::string::npos) << mDaemon->log();

    // Its key is free again, and the new client hears the next change.
    ASSERT_TRUE(client.registerClient(1, &error)) << error;
    EXPECT_EQ(intParam(client, "DCCP"), 1);
    ASSERT_TRUE(client.setParam(amountBlob(8, 4), &error)) << error;
    std::vector<uint8_t> blob;
    bool heardIt = false;
    while (!heardIt && client.nextNotification(5000, &blob, &error)) {
        heardIt = tagOf(blob) == 8;
    }
    EXPECT_TRUE(heardIt) << error;
}

struct HostileCall {
    const char* tool;  // "gdbus" or "dbus-send"
    const char* member;
    std::vector<std::string> args;
    const char* reply;  // part of the error reply
};

TEST_F(OrvaxdTest, HostileCallsGetErrorRepliesAndTheDaemonLivesOn) {
    const std::vector<HostileCall> calls = {
        {"gdbus", "GetParam", {"[byte 1]", "16"}, "at least its event word; got 1 bytes"},
        {"gdbus", "GetParam", {"[byte 0, 0, 0, 3, 0]", "16"}, "whole 32-bit words; got 5 bytes"},
        {"gdbus", "GetParam", {"[byte 0, 0, 0, 3]", "4294967295"}, "capacity 4294967295 is above the limit"},
        {"gdbus", "GetParam", {"[byte 0, 0, 0, 14]", "16"}, "the event (0 to 13)"},
        {"gdbus", "SetParam", {"@ay []"}, "at least its event word; got 0 bytes"},
        {"gdbus", "SetParam", {"[byte 1, 0, 0, 0]"}, "bytes 0 to 2 are zero"},
        {"gdbus", "SetParam", {"[byte 0, 0, 0, 200]"}, "the event (0 to 12)"},
        {"gdbus", "GetIntParam", {"ABC"}, "'ABC' is not a four-character code"},
        {"gdbus", "GetIntParam", {"ABCDE"}, "'ABCDE' is not a four-character code"},
        {"gdbus", "GetIntParam", {"ZZZZ"}, "unknown integer parameter 'ZZZZ'"},
        {"gdbus", "SetIntParam", {"TEVO", "1"}, "read-only integer parameter"},
        {"gdbus", "SetIntParam", {"RLT", "1"}, "'RLT' is not a four-character code"},
        {"gdbus", "GetTuningDevices", {"99"}, "port 99 is not 0 to 6"},
        {"dbus-send", "GetSelectedTuningDevice", {"int32:-1"}, "port -1 is not 0 to 6"},
        {"gdbus", "SetSelectedTuningDevice", {"0", "no_such_device"}, "has no tuning device 'no_such_device'"},
        {"gdbus", "Unregister", {}, "org.orvan.Orvax1.Error.NotRegistered"},
        {"dbus-send", "GetParam", {"array:byte:0,0,0,3"}, "expecting 'ayu'"},
        {"dbus-send", "Forget", {}, "UnknownMethod"},
    };
    for (const HostileCall& call : calls) {
        const ToolRun run = std::string(call.tool) == "gdbus" ? gdbusCall(mRoot, mBus, call.member, call.args)
                                                              : dbusSend(mRoot, mBus, call.member, call.args);
        EXPECT_NE(run.status, 0) << call.member << " was not refused: " << run.out;
        EXPECT_NE(run.err.find(call.reply), std::string::npos) << call.member << ": " << run.err;
    }
    OrvaxBusClient client;
    connectTo(mBus, &client);
    std::string error;
    EXPECT_FALSE(client.setParam(std::vector<uint8_t>(bus::kMaxBlobBytes + 4, 0), &error));
    EXPECT_NE(error.find("at most 65536 bytes"), std::string::npos) << error;
    // It still answers.
    EXPECT_EQ(intParam(client, "DTFV"), 1000000) << mDaemon->log();
}

TEST_F(OrvaxdTest, ABurstIsSavedOnceWithinTheDelayAndSigtermSavesAndExitsZero) {
    OrvaxBusClient client;
    connectTo(mBus, &client);
    std::string error;
    constexpr int kBurst = 20;
    for (int i = 1; i <= kBurst; ++i) {
        ASSERT_TRUE(client.setParam(amountBlob(0, i % 17), &error)) << error;
    }
    // Long enough for a second save, which a burst must not cause.
    std::this_thread::sleep_for(std::chrono::milliseconds(2 * bus::kSaveDelayMs + 800));
    EXPECT_EQ(occurrences(mDaemon->log(), "saved the settings"), 1u) << mDaemon->log();

    // Killed without a chance to save: the timed save kept the last value.
    mDaemon->process().kill(SIGKILL, 5000ms);
    mDaemon = std::make_unique<Daemon>(mBus, mRoot);
    ASSERT_TRUE(mDaemon->start()) << mDaemon->log();
    EXPECT_EQ(storedAmount(), kBurst % 17);

    ASSERT_EQ(gdbusCall(mRoot, mBus, "SetParam", {gvariantBytes(amountBlob(0, 9))}).status, 0);
    // Answered once queued; a query after it sees the change.
    EXPECT_EQ(storedAmount(), 9);
    EXPECT_EQ(mDaemon->process().kill(SIGTERM, 10000ms), 0) << mDaemon->log();
    mDaemon = std::make_unique<Daemon>(mBus, mRoot);
    ASSERT_TRUE(mDaemon->start()) << mDaemon->log();
    EXPECT_EQ(storedAmount(), 9);
}

// orvaxctl finds the daemon through the session bus of its environment.
class BusEnvironment {
public:
    explicit BusEnvironment(const std::string& address) { setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1); }
    ~BusEnvironment() { unsetenv("DBUS_SESSION_BUS_ADDRESS"); }
};

TEST_F(OrvaxdTest, OrvaxctlGoesThroughTheDaemonOfItsRootOnly) {
    BusEnvironment environment(mBus.address());
    EXPECT_EQ(orvaxctl(mRoot.path(), {"daemon"}).status, 0);
    TempRoot other;
    ASSERT_EQ(orvaxctl(other.path(), {"install"}).status, 0);
    EXPECT_EQ(orvaxctl(other.path(), {"daemon"}).status, 1);

    // In this process the service would wait for the daemon's settings; through
    // it, it answers, and prints what the other root's service prints in process.
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
                 {"status", "--json"}, {"devices", "usb", "--json"}, {"status"}, {"devices", "0"}}) {
        const ToolRun ran = orvaxctl(mRoot.path(), args);
        EXPECT_EQ(ran.status, 0) << ran.err;
        EXPECT_EQ(ran.out, orvaxctl(other.path(), args).out) << args[0];
    }
    const ToolRun selected = orvaxctl(mRoot.path(), {"device", "0", "mono_speaker"});
    EXPECT_EQ(selected.status, 0) << selected.err;
    OrvaxBusClient client;
    connectTo(mBus, &client);
    std::string device;
    std::string error;
    ASSERT_TRUE(client.getSelectedTuningDevice(0, &device, &error)) << error;
    EXPECT_EQ(device, "mono_speaker");
    EXPECT_EQ(orvaxctl(mRoot.path(), {"int", "DTFV"}).out, "1000000\n");

    // A command that needs the service in its own process says so at once.
    const ToolRun get = orvaxctl(mRoot.path(), {"get", "108"});
    EXPECT_EQ(get.status, 1);
    EXPECT_NE(get.err.find("does not go through it"), std::string::npos) << get.err;
}

TEST_F(OrvaxdTest, WatchPrintsEachNotificationDecodedUntilInterrupted) {
    ChildProcess watch;
    const std::string printed = mRoot.path() + "/watch.out";
    ASSERT_TRUE(watch.start({ORVAXCTL_PATH, "--root", mRoot.path(), "watch", "--json"},
                            {"DBUS_SESSION_BUS_ADDRESS=" + mBus.address()}, printed, mRoot.path() + "/watch.err"));
    // Its own registration is the first notification it hears.
    ASSERT_TRUE(eventually([&] { return readFile(printed).find("\"clients\"") != std::string::npos; }))
            << readFile(mRoot.path() + "/watch.err");
    ASSERT_EQ(gdbusCall(mRoot, mBus, "SetParam", {gvariantBytes(amountBlob(0, 5))}).status, 0);
    ASSERT_EQ(gdbusCall(mRoot, mBus, "SetSelectedTuningDevice", {"0", "mono_speaker"}).status, 0);
    const std::string change =
            "{\"kind\": \"set\", \"event\": 1, \"profile\": 0, \"parameter\": \"dialog_enhancer_amount\", \"id\": 108, "
            "\"values\": [5], \"raw\": \"00000001 00000000 00000000 6c000000 05000000\"}\n";
    const std::string device = "{\"kind\": \"tuning_device\", \"name\": \"mono_speaker\"";
    EXPECT_TRUE(eventually([&] { return readFile(printed).find(device) != std::string::npos; })) << readFile(printed);
    EXPECT_NE(readFile(printed).find(change), std::string::npos) << readFile(printed);

    EXPECT_EQ(watch.kill(SIGTERM, 5000ms), 0) << readFile(mRoot.path() + "/watch.err");
}

// The interface file installed for other programs says what the object serves.
TEST_F(OrvaxdTest, TheInstalledInterfaceFileMatchesTheLiveObject) {
    const ToolRun live = runCommand(mRoot.path(), {"gdbus", "introspect", "--xml", "--address", mBus.address(), "--dest",
                                           bus::kBusName, "--object-path", bus::kObjectPath});
    ASSERT_EQ(live.status, 0) << live.err;
    // Each member of org.orvan.Orvax1 with its arguments' types and directions.
    auto members = [](const std::string& xml) {
        const size_t start = xml.find("<interface name=\"org.orvan.Orvax1\">");
        const std::string body = xml.substr(start, xml.find("</interface>", start) - start);
        const std::regex item("<(method|signal|property) name=\"(\\w+)\"|<arg type=\"([^\"]+)\"[^>]*?"
                              "(direction=\"(in|out)\")?[^>]*>|type=\"([^\"]+)\" access");
        std::map<std::string, std::string> found;
        std::string current;
        for (auto it = std::sregex_iterator(body.begin(), body.end(), item); it != std::sregex_iterator(); ++it) {
            const std::smatch& match = *it;
            if (match[2].matched) {
                current = match[1].str() + " " + match[2].str();
                found[current];
            } else if (match[3].matched) {
                found[current] += match[3].str() + (match[5].matched ? match[5].str() : "") + " ";
            } else {
                found[current] += match[6].str();
            }
        }
        return found;
    };
    const std::map<std::string, std::string> installed =
            members(readFile(sourcePath("tools/orvaxd/org.orvan.Orvax1.xml")));
    EXPECT_EQ(installed.size(), 13u);
    EXPECT_EQ(members(live.out), installed) << live.out;
}

struct PolicyCase {
    const char* member;
    std::vector<std::string> args;
    bool inSetterGroup;
    bool allowed;
};

// The installed bus policy on a bus configured as the system bus is: method
// calls are denied unless a policy allows them.
TEST(OrvaxdPolicyTest, OnTheSystemBusOnlyTheSetterGroupChangesSettings) {
    if (getuid() != 0) {
        GTEST_SKIP() << "calling as another user needs root";
    }
    const group* setters = getgrnam(ORVAXD_SETTER_GROUP);
    if (setters == nullptr) {
        GTEST_SKIP() << "no group " << ORVAXD_SETTER_GROUP << " on this machine";
    }
    TempRoot root;
    ASSERT_EQ(orvaxctl(root.path(), {"install"}).status, 0);
    const std::string config = writeFile(root, "system.conf", std::string(R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:tmpdir=/tmp</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>
  </policy>
  <include>)") + ORVAXD_POLICY_PATH + "</include>\n</busconfig>\n");
    const PrivateBus bus(root.path(), config);
    ASSERT_FALSE(bus.address().empty()) << readFile(root.path() + "/bus.log");
    Daemon daemon(bus, root, OrvaxBusClient::Bus::kSystem);
    ASSERT_TRUE(daemon.start()) << daemon.log();

    const std::vector<PolicyCase> cases = {
        {"GetIntParam", {"DTFV"}, false, true},
        {"Dump", {}, false, true},
        {"GetTuningDevices", {"0"}, false, true},
        {"SetParam", {"[byte 0, 0, 0, 9, 0, 0, 0, 0, 0, 0, 0, 0]"}, false, false},
        {"SetIntParam", {"RLTF", "0"}, false, false},
        {"SetSelectedTuningDevice", {"0", "mono_speaker"}, false, false},
        {"Save", {}, false, false},
        {"SetParam", {"[byte 0, 0, 0, 9, 0, 0, 0, 0, 0, 0, 0, 0]"}, true, true},
        {"Save", {}, true, true},
    };
    const std::string groups = "--groups=" + std::to_string(setters->gr_gid);
    for (const PolicyCase& policy : cases) {
        const ToolRun run = gdbusCall(root, bus, policy.member, policy.args,
                                      {"setpriv", "--reuid=65534", "--regid=65534",
                                       policy.inSetterGroup ? groups : "--clear-groups"});
        EXPECT_EQ(run.status == 0, policy.allowed) << policy.member << (policy.inSetterGroup ? " in the group" : "")
                                                   << ": " << run.err;
        if (!policy.allowed) {
            EXPECT_NE(run.err.find("AccessDenied"), std::string::npos) << run.err;
        }
    }
}

}  // namespace
}  // namespace orvan::test
