#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <utils/Errors.h>
#include <utils/Singleton.h>

#include <tevparamstorage/TevParamCache.h>

namespace android {

// One committed engine parameter, as getCommittedParams() lists them.
struct TevStoredParam {
    int32_t device;
    int32_t id;
    std::vector<int32_t> values;
};

// The process-wide store the audio engine reads its parameters from.
//
// Writers stage values with setParam() and publish them with commitChange().
// Staging is kept per calling thread, so one thread's commit never publishes
// another thread's half-built command, and a commit replaces all its values
// under one lock: readers see every value of a command or none of them.
// Staged values wait for the same thread's next commit. All operations are
// safe to call from any thread.
class TevParamStore : public Singleton<TevParamStore> {
public:
    // Stages `count` values for parameter `id` of `device`; a later stage of
    // the same pair in the same command replaces the earlier one.
    // BAD_VALUE (nothing staged) for a negative count or missing values.
    status_t setParam(int32_t device, int32_t id, const int32_t* values, int32_t count);
    // Publishes everything this thread staged; returns how many parameters.
    int32_t commitChange();

    // Copies the committed values of one parameter; NAME_NOT_FOUND when the
    // device never received it (`values` is then left as it was).
    status_t getStoredParams(int32_t device, int32_t id, std::vector<int32_t>* values) const;
    // Copies the committed cache of one device; NAME_NOT_FOUND when it has none.
    status_t getStoredParams(int32_t device, TevParamCache* cache) const;
    // Every committed parameter, ordered by device, then parameter id.
    std::vector<TevStoredParam> getCommittedParams() const;

private:
    friend class Singleton<TevParamStore>;
    TevParamStore() = default;

    using Key = std::pair<int32_t, int32_t>;  // device, parameter id
    // A command's stages in order, their numbers side by side in one buffer:
    // a full refresh stages hundreds of parameters, and a buffer each was
    // most of what staging cost.
    struct Stage {
        Key key;
        size_t offset;
        size_t count;
    };
    static constexpr size_t kFirstStages = 16;
    struct Command {
        std::vector<Stage> stages;
        std::vector<int32_t> values;
    };

    mutable std::mutex mLock;
    std::map<std::thread::id, Command> mStaged;
    std::map<int32_t, TevParamCache> mCaches;
    // The keys a commit counts its pairs on; kept for their room.
    std::vector<uint64_t> mCommitKeys;
};

}  // namespace android
