#define LOG_TAG "TevParamStore"

#include <tevparamstorage/TevParamStore.h>

#include <algorithm>

#include <log/log.h>

namespace android {

ANDROID_SINGLETON_STATIC_INSTANCE(TevParamStore);

status_t TevParamStore::setParam(int32_t device, int32_t id, const int32_t* values,
                                 int32_t count) {
    if (count < 0 || (count > 0 && values == nullptr)) {
        ALOGE("setParam() device %d id 0x%08x: %d values at %p refused", device,
              static_cast<uint32_t>(id), count, values);
        return BAD_VALUE;
    }
    std::lock_guard<std::mutex> lock(mLock);
    Command& command = mStaged[std::this_thread::get_id()];
    if (command.stages.empty()) {
        // Room for a client's change without growing; a refresh grows it a few times.
        command.stages.reserve(kFirstStages);
        command.values.reserve(4 * kFirstStages);
    }
    command.stages.push_back({Key(device, id), command.values.size(), static_cast<size_t>(count)});
    command.values.insert(command.values.end(), values, values + count);
    return NO_ERROR;
}

int32_t TevParamStore::commitChange() {
    std::lock_guard<std::mutex> lock(mLock);
    auto staged = mStaged.find(std::this_thread::get_id());
    if (staged == mStaged.end()) {
        if (!mStaged.empty()) {
            // Staging belongs to the thread that staged: another thread's
            // values are never published by this commit.
            ALOGW("commitChange(): nothing staged on this thread; %zu other thread(s) have staged values "
                  "that wait for their own commit", mStaged.size());
        }
        return 0;
    }
    Command& command = staged->second;
    // In staging order, so that a later stage of a pair is the one kept. A
    // command stages one device's parameters after another's: its cache is
    // looked up once per run of them.
    std::vector<uint64_t>& keys = mCommitKeys;
    keys.clear();
    TevParamCache* cache = nullptr;
    int32_t cacheDevice = 0;
    for (const Stage& stage : command.stages) {
        if (cache == nullptr || cacheDevice != stage.key.first) {
            cacheDevice = stage.key.first;
            cache = &mCaches[cacheDevice];
        }
        cache->setParam(stage.key.second, command.values.data() + stage.offset, stage.count);
        keys.push_back(static_cast<uint64_t>(static_cast<uint32_t>(stage.key.first)) << 32 |
                       static_cast<uint32_t>(stage.key.second));
    }
    // Sorted, the keys count the pairs.
    std::sort(keys.begin(), keys.end());
    const auto pairs = std::unique(keys.begin(), keys.end()) - keys.begin();
    mStaged.erase(staged);
    return static_cast<int32_t>(pairs);
}

status_t TevParamStore::getStoredParams(int32_t device, int32_t id,
                                        std::vector<int32_t>* values) const {
    if (values == nullptr) {
        ALOGE("getStoredParams() device %d id 0x%08x: no place for the values", device,
              static_cast<uint32_t>(id));
        return BAD_VALUE;
    }
    std::lock_guard<std::mutex> lock(mLock);
    auto cache = mCaches.find(device);
    const std::vector<int32_t>* found =
            cache == mCaches.end() ? nullptr : cache->second.findParam(id);
    if (found == nullptr) {
        ALOGD("getStoredParams() device %d has no parameter 0x%08x", device,
              static_cast<uint32_t>(id));
        return NAME_NOT_FOUND;
    }
    *values = *found;
    return NO_ERROR;
}

status_t TevParamStore::getStoredParams(int32_t device, TevParamCache* cache) const {
    if (cache == nullptr) {
        ALOGE("getStoredParams() device %d: no place for the cache", device);
        return BAD_VALUE;
    }
    std::lock_guard<std::mutex> lock(mLock);
    auto found = mCaches.find(device);
    if (found == mCaches.end()) {
        ALOGD("getStoredParams() device %d has no parameters", device);
        return NAME_NOT_FOUND;
    }
    *cache = found->second;
    return NO_ERROR;
}

std::vector<TevStoredParam> TevParamStore::getCommittedParams() const {
    std::vector<TevStoredParam> out;
    std::lock_guard<std::mutex> lock(mLock);
    for (const auto& [device, cache] : mCaches) {
        for (const auto& [id, values] : cache.getParams()) {
            out.push_back({device, id, values});
        }
    }
    return out;
}

}  // namespace android
