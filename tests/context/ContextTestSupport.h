#pragma once

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "context/AxContext.h"
#include "storage/AxContextManager.h"
#include "storage/DevicePaths.h"
#include "storage/Provider.h"
#include "tests/common/TempRoot.h"

namespace orvan::test {

// One context event as a listener saw it.
// `value`: the on state, or the type of an IEQ curve.
struct Event { std::string kind; int port = -1; const void* record = nullptr; int value = -1; };

// Records every event. Each callback also reads the context, which would
// deadlock if the context notified while holding its lock.
class RecordingObserver : public OnAxContextChange {
public:
    std::vector<Event> events;

    void onLoad(AxContext& c) override { add(c, {"load"}); }
    void onTevOnChanged(AxContext& c, bool on) override { add(c, {"tev", -1, nullptr, on}); }
    void onSelectedProfileChanged(AxContext& c) override { add(c, {"profile"}); }
    void onSelectedProfileParameterChanged(AxContext& c, Profile& p) override { add(c, {"parameter", -1, &p}); }
    void onSelectedProfileEndpointChanged(AxContext& c, Port port, ProfileEndpoint& e) override {
        add(c, {"endpoint", port, &e});
    }
    void onSelectedProfileIeqChanged(AxContext& c, Port port, IeqPreset& p) override {
        add(c, {"ieq", port, &p, p.getType()});
    }
    void onSelectedProfileGeqChanged(AxContext& c, GeqPreset& p) override { add(c, {"geq", -1, &p}); }
    void onSelectedTuningChanged(AxContext& c, Port port, Tuning& t) override { add(c, {"tuning", port, &t}); }

    std::vector<std::string> kinds() const {
        std::vector<std::string> out;
        for (const Event& e : events) {
            out.push_back(e.kind);
        }
        return out;
    }

private:
    void add(AxContext& context, Event event) {
        context.getSelectedProfile();
        std::lock_guard<std::mutex> lock(mLock);
        events.push_back(std::move(event));
    }

    std::mutex mLock;
};

// A device partition under a temporary ORVAN_ROOT, with the bundled tuning
// files at hand and the context manager restarted as a process start would.
class StartUpTest : public ::testing::Test {
protected:
    static constexpr time_t kFactoryTime = 1700000000;

    StartUpTest() {
        std::filesystem::create_directories(mRoot.under("/vendor/etc/orvan"));
        std::filesystem::create_directories(mRoot.under(DevicePaths::kDataDirectory));
    }
    ~StartUpTest() override {
        if (android::Singleton<AxContextManager>::hasInstance()) {
            AxContextManager::getInstance().release();
        }
    }

    static std::string database() { return DevicePaths::dataDirectory() + Provider::kDatabaseFile; }

    static void copyTo(const std::string& source, const std::string& target, time_t mtime) {
        std::filesystem::copy_file(source, target, std::filesystem::copy_options::overwrite_existing);
        setModificationTime(target, mtime);
    }
    static void writeTo(const std::string& target, const std::string& text, time_t mtime) {
        setModificationTime(writeFile(target, text), mtime);
    }
    // New bytes for the default tuning file (a comment naming `revision`),
    // with the same tuning: only a change of bytes makes a rebuild.
    static void reviseDefaultFile(int revision, time_t mtime) {
        writeTo(DevicePaths::defaultTuningFile(),
                readFile(sourcePath("data/zel-default.xml")) + "<!-- revision " + std::to_string(revision) + " -->\n",
                mtime);
    }
    static void setModificationTime(const std::string& path, time_t seconds) {
        const struct timespec times[2] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(0, utimensat(AT_FDCWD, path.c_str(), times, 0)) << path;
    }

    void installFactoryFiles() {
        copyTo(sourcePath("data/zel-default.xml"), DevicePaths::defaultTuningFile(), kFactoryTime);
        copyTo(sourcePath("data/zel-extra.xml"), DevicePaths::extraTuningFile(), kFactoryTime);
    }

    static AxContextManager& start() {
        if (android::Singleton<AxContextManager>::hasInstance()) {
            AxContextManager& manager = AxContextManager::getInstance();
            manager.release();
            manager.init();
            return manager;
        }
        return AxContextManager::getInstance();
    }
    static AxContext* startContext() { return start().getAxContext(); }

    // Saves a user's choices (a profile and profile 2's volume leveler amount
    // on `endpoint`) and stops, as the process would.
    static void saveChoices(int32_t profile, Endpoint endpoint, int32_t amount) {
        AxContext* context = startContext();
        ASSERT_NE(nullptr, context);
        context->setSelectedProfile(profile);
        ASSERT_TRUE(context->setProfileParameter(2, endpoint, volume_leveler_amount, {amount}));
        ASSERT_TRUE(context->save());
        AxContextManager::getInstance().release();
    }

    // The first cell of `sql` on the settings database, read past the service.
    static std::string query(const std::string& sql) { return sqlText(database(), sql); }

    TempRoot mRoot;
};

// An extra tuning file of the given format version holding `tunings`, each
// given as its name, endpoint and the (device, port) pairs bound to it.
struct OemTuning { std::string name; std::string endpoint; std::vector<std::pair<std::string, std::string>> devices; };

inline std::string oemFile(const std::string& minorVersion, const std::vector<OemTuning>& tunings) {
    std::string xml = "<?xml version=\"1.0\"?>\n<orvan_tuning>\n  <format_version major=\"1\" minor=\"" +
                      minorVersion + "\" maintenance=\"0\"/>\n";
    for (const OemTuning& t : tunings) {
        xml += "  <tuning name=\"" + t.name + "\" endpoint_type=\"" + t.endpoint +
               "\" mono_device=\"false\" orientation=\"0\" output_channels=\"2\">\n";
        for (const auto& [device, port] : t.devices) {
            xml += "    <device_id id=\"" + device + "\" endpoint_port=\"" + port + "\"/>\n";
        }
        xml += "    <data><regulator-enable value=\"true\"/></data>\n  </tuning>\n";
    }
    return xml + "</orvan_tuning>\n";
}

}  // namespace orvan::test
