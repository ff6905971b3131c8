#define LOG_TAG "ServiceSession"

#include "tools/orvaxctl/ServiceSession.h"

#include <sys/stat.h>
#include <unistd.h>

#include <log/log.h>
#include <vendor/orvan/hardware/rnx/2.0/BpHwRnxCallbacks.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <thread>

#include "context/AxContext.h"
#include "storage/AxContextManager.h"
#include "storage/DevicePaths.h"
#include "storage/SettingsLock.h"
#include "tools/orvaxctl/Commands.h"

namespace orvan::tool {
namespace {

// Room for the longest answer: a band table of a few hundred values.
constexpr uint32_t kAnswerCapacity = 4096;

std::vector<int32_t> toWords(const std::vector<uint8_t>& bytes) {
    std::vector<int32_t> words;
    for (size_t i = 0; i + 4 <= bytes.size(); i += 4) {
        words.push_back(static_cast<int32_t>(bytes[i] | bytes[i + 1] << 8 | bytes[i + 2] << 16 |
                                             static_cast<uint32_t>(bytes[i + 3]) << 24));
    }
    return words;
}

// Tells the person waiting, once, when the start takes longer than a second
// because another service holds the root's settings.
class WaitNotice {
public:
    WaitNotice() : mThread([this] { watch(); }) {}
    ~WaitNotice() {
        {
            std::lock_guard<std::mutex> guard(mLock);
            mDone = true;
        }
        mWake.notify_one();
        mThread.join();
    }
    WaitNotice(const WaitNotice&) = delete;
    WaitNotice& operator=(const WaitNotice&) = delete;

private:
    void watch() {
        std::unique_lock<std::mutex> lock(mLock);
        if (mWake.wait_for(lock, std::chrono::seconds(1), [this] { return mDone; })) {
            return;
        }
        const std::string directory = DevicePaths::dataDirectory();
        if (const pid_t holder = SettingsLock::holder(directory); holder != 0 && holder != getpid()) {
            note("waiting for the service of process %d, which holds the settings in %s", static_cast<int>(holder),
                 directory.c_str());
        }
    }

    std::mutex mLock;
    std::condition_variable mWake;
    bool mDone = false;
    std::thread mThread;
};

thread_local bool tMuted = false;

}  // namespace

ThreadLogMute::ThreadLogMute() : mPrevious(tMuted) {
    tMuted = true;
}

ThreadLogMute::~ThreadLogMute() {
    tMuted = mPrevious;
}

bool ThreadLogMute::isMuted() {
    return tMuted;
}

android::hardware::Return<void> RecordingClient::onParametersUpdated(
        const android::hardware::hidl_vec<uint8_t>& params) {
    std::lock_guard<std::mutex> guard(mLock);
    mReceived.emplace_back(params.data(), params.data() + params.size());
    return android::hardware::Void();
}

std::vector<std::vector<uint8_t>> RecordingClient::take() {
    std::lock_guard<std::mutex> guard(mLock);
    std::vector<std::vector<uint8_t>> received;
    received.swap(mReceived);
    return received;
}

std::vector<uint8_t> ServiceSession::toBytes(const std::vector<int32_t>& words) {
    std::vector<uint8_t> bytes;
    for (int32_t word : words) {
        const uint32_t value = static_cast<uint32_t>(word);
        for (int shift = 0; shift < 32; shift += 8) {
            bytes.push_back(static_cast<uint8_t>(value >> shift));
        }
    }
    return bytes;
}

ServiceSession::ServiceSession() = default;

ServiceSession::~ServiceSession() {
    stop();
}

bool ServiceSession::start(std::string* error) {
    const std::string tuningFile = DevicePaths::defaultTuningFile();
    struct stat info {};
    if (stat(tuningFile.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
        *error = "no tuning file at " + tuningFile + " (run 'orvaxctl install' first)";
        return false;
    }
    // On a device the data partition has the directory already.
    std::error_code ignored;
    std::filesystem::create_directories(DevicePaths::dataDirectory(), ignored);

    // The service's warnings at start stay on stderr: they may be all that
    // tells the user why the settings are not what they expect.
    mService = new android::OrvanManagerService();
    mClient = new RecordingClient();
    // Registered through the transport proxy, as a client in another process is.
    mProxy = new vendor::orvan::hardware::rnx::V2_0::BpHwRnxCallbacks(mClient);
    {
        WaitNotice notice;
        mService->registerClient(mProxy, kClientType, getuid());
    }
    mRegistered = true;
    bool loaded = false;
    {
        // A service without settings logs that it has none; the line below says why.
        ThreadLogMute mute;
        loaded = mService->getDefaultXmlFormatVersion() != android::OrvanManagerService::kNotInitialized;
    }
    if (!loaded) {
        const std::string problem = mService->getStartProblem();
        *error = "the service could not load its settings: " +
                 (problem.empty() ? "nothing loaded from " + tuningFile : problem);
        if (problem.empty() || problem.find(tuningFile) != std::string::npos) {
            *error += " (see 'orvaxctl check " + tuningFile + "')";
        }
        return false;
    }
    waitForEvents();
    mClient->take();  // the registration notice
    // The service served anyway; a plain line says what it got past, the
    // lines it logged above say the details.
    AxContextManager& contextManager = AxContextManager::getInstance();
    if (const std::string aside = contextManager.getSetAsideDatabase(); !aside.empty()) {
        note("the settings database was damaged; it was moved to %s and rebuilt from the tuning file",
             aside.c_str());
    }
    if (const std::string problem = contextManager.getDefaultFileProblem(); !problem.empty()) {
        note("the default tuning file %s cannot be read (%s: see 'orvaxctl check %s'); the stored settings are in use",
             tuningFile.c_str(), problem.c_str(), tuningFile.c_str());
    }
    return true;
}

bool ServiceSession::finish(std::string* error) {
    error->clear();
    stop(error);
    return error->empty();
}

void ServiceSession::stop(std::string* saveProblem) {
    if (mService == nullptr) {
        return;
    }
    waitForEvents();
    if (mRegistered) {
        // An application leaving makes the service save.
        mService->unregisterClient(mProxy, kClientType, getuid());
        waitForEvents();
    }
    mRegistered = false;
    mProxy.clear();
    // The last reference: the service saves again and stops its handler.
    mService.clear();
    if (!android::Singleton<AxContextManager>::hasInstance()) {
        return;
    }
    AxContextManager& contextManager = AxContextManager::getInstance();
    // The outcome of the last save is what the database holds now.
    if (saveProblem != nullptr && contextManager.getAxContext() != nullptr) {
        *saveProblem = contextManager.getAxContext()->getLastSaveProblem();
    }
    // Closes the database and lets another process's service take the settings.
    contextManager.release();
}

void ServiceSession::waitForEvents() {
    if (mService != nullptr && !mService->waitForEvents()) {
        ALOGE("the event handler no longer runs");
    }
}

bool ServiceSession::send(const std::vector<int32_t>& words) {
    return sendBytes(toBytes(words));
}

bool ServiceSession::sendBytes(const std::vector<uint8_t>& blob) {
    const int32_t status = mService->setTevParam(blob.data(), static_cast<uint32_t>(blob.size()));
    if (status != 0) {
        return false;  // the caller says so
    }
    waitForEvents();
    return true;
}

bool ServiceSession::queryBytes(const std::vector<uint8_t>& blob, uint32_t capacity, std::vector<uint8_t>* answer) {
    answer->clear();
    // The service does not say how much it wrote: ask twice over different
    // fillings; the bytes it wrote are the leading ones that agree.
    std::vector<uint8_t> zeros(capacity, 0x00);
    std::vector<uint8_t> ones(capacity, 0xff);
    const auto length = static_cast<uint32_t>(blob.size());
    if (mService->getTevParam(blob.data(), length, zeros.data(), capacity) != 0) {
        ALOGE("getTevParam refused the query");
        return false;
    }
    {
        // The second asking repeats whatever the first one logged.
        ThreadLogMute mute;
        if (mService->getTevParam(blob.data(), length, ones.data(), capacity) != 0) {
            ALOGE("getTevParam refused the query when asked again");
            return false;
        }
    }
    size_t written = 0;
    while (written < capacity && zeros[written] == ones[written]) {
        ++written;
    }
    zeros.resize(written);
    *answer = std::move(zeros);
    return true;
}

std::vector<int32_t> ServiceSession::query(const std::vector<int32_t>& words) {
    std::vector<uint8_t> answer;
    queryBytes(toBytes(words), kAnswerCapacity, &answer);
    return toWords(answer);
}

int32_t ServiceSession::queryWord(const std::vector<int32_t>& words, int32_t fallback) {
    const std::vector<int32_t> answer = query(words);
    return answer.empty() ? fallback : answer[0];
}

}  // namespace orvan::tool
