#define LOG_TAG "EventHandler"

#include "service/EventHandler.h"

#include <condition_variable>
#include <cstring>
#include <mutex>
#include <string>

#include <log/log.h>
#include <media/stagefright/foundation/ABuffer.h>

#include "context/AxContext.h"
#include "manager/AxManager.h"
#include "service/ClientProtocol.h"
#include "service/ParameterBlob.h"

namespace android {
namespace {

using orvan::ClientProtocol;

constexpr const char* kBuffer = "buffer";
constexpr const char* kPort = "port";
constexpr const char* kMarker = "marker";

// What a thread waiting in sync() sleeps on; it lives on that thread's stack.
struct SyncMarker {
    std::mutex lock;
    std::condition_variable reached;
    bool done = false;

    void signal() {
        std::lock_guard<std::mutex> guard(lock);
        done = true;
        reached.notify_all();
    }
};

}  // namespace

OrvanManagerService::EventHandler::EventHandler(orvan::AxManager* manager, OrvanManagerService* service)
    : mLooper(new ALooper()), mManager(manager), mService(service) {
    mLooper->setName("OrvanManagerService EventHandler");
}

status_t OrvanManagerService::EventHandler::start() {
    const ALooper::handler_id handlerId = mLooper->registerHandler(this);
    if (handlerId <= 0) {
        ALOGE("%s(): cannot register with the looper (%d)", __func__, handlerId);
        return handlerId;
    }
    const status_t status = mLooper->start();
    if (status != OK) {
        ALOGE("%s(): cannot start the looper (%d)", __func__, status);
    }
    return status;
}

void OrvanManagerService::EventHandler::stop() {
    mLooper->unregisterHandler(id());
    mLooper->stop();
}

sp<AMessage> OrvanManagerService::EventHandler::newMessage(const void* data, uint32_t length, uint32_t what) {
    if (data == nullptr && length != 0) {
        ALOGE("%s(): null data of %u bytes for message 0x%x, sent empty", __func__, length, what);
        length = 0;
    }
    sp<ABuffer> buffer = new ABuffer(length);
    if (buffer->capacity() < length) {
        length = 0;  // the allocation failure is logged by ABuffer
    }
    if (length != 0) {
        std::memcpy(buffer->data(), data, length);
    }
    sp<AMessage> msg = new AMessage(what, this);
    msg->setBuffer(kBuffer, buffer);
    return msg;
}

void OrvanManagerService::EventHandler::post(const sp<AMessage>& msg) {
    const status_t status = msg->post();
    if (status != OK) {
        ALOGE("message 0x%x not posted (%d)", msg->what(), status);
    }
}

void OrvanManagerService::EventHandler::sendMessage(const void* data, uint32_t length, uint32_t what) {
    post(newMessage(data, length, what));
}

void OrvanManagerService::EventHandler::sendMessage(const void* data, uint32_t length, int32_t port,
                                                    uint32_t what) {
    sp<AMessage> msg = newMessage(data, length, what);
    msg->setInt32(kPort, port);
    post(msg);
}

bool OrvanManagerService::EventHandler::sync() {
    SyncMarker marker;
    sp<AMessage> msg = new AMessage(kSync, this);
    msg->setPointer(kMarker, &marker);
    const status_t status = msg->post();
    if (status != OK) {
        ALOGE("%s(): the event handler no longer runs (%d)", __func__, status);
        return false;
    }
    std::unique_lock<std::mutex> lock(marker.lock);
    marker.reached.wait(lock, [&marker] { return marker.done; });
    return true;
}

void OrvanManagerService::EventHandler::onMessageReceived(const sp<AMessage>& msg) {
    const uint32_t what = msg->what();
    if (what == kSync) {
        void* marker = nullptr;
        if (msg->findPointer(kMarker, &marker)) {
            static_cast<SyncMarker*>(marker)->signal();
        }
        return;
    }
    if (what == kReloadTuning) {
        const int32_t result = mManager->reloadTuningXml();
        if (result != 0) {
            ALOGW("%s(): tuning reload failed (%d), clients not told", __func__, result);
            return;
        }
        mService->doOnTevParamUpdate(nullptr, 0);
        return;
    }

    sp<ABuffer> buffer;
    if (what != kRegistrationChanged && what != kSetTuningDevice && what != kSetParameter) {
        ALOGW("%s(): unknown message 0x%x, clients are told without data", __func__, what);
    } else if (!msg->findBuffer(kBuffer, &buffer)) {
        ALOGE("%s(): message 0x%x without its buffer", __func__, what);
    }

    if (buffer != nullptr && what == kSetTuningDevice) {
        int32_t port = -1;
        msg->findInt32(kPort, &port);
        const std::string name(reinterpret_cast<const char*>(buffer->data()), buffer->size());
        orvan::AxContext* context = mManager->getAxContext();
        if (context == nullptr) {
            ALOGE("%s AxManager doesn't initialize!", __func__);
        } else {
            context->setSelectedTuning(static_cast<orvan::Port>(port), name, false);
        }
    } else if (buffer != nullptr && what == kSetParameter) {
        parseAndSendParam(buffer->data(), buffer->size());
    }

    if (buffer != nullptr) {
        mService->doOnTevParamUpdate(buffer->data(), buffer->size());
    } else {
        mService->doOnTevParamUpdate(nullptr, 0);
    }
}

void OrvanManagerService::EventHandler::parseAndSendParam(void* blob, uint32_t length) {
    const ParameterBlob request(blob, length, __func__);
    ALOGD("send para event 0x%x", request.eventWord());
    if (request.length() < 4) {
        ALOGE("%s : Invalid input length!", __func__);
    }
    const uint32_t event = request.event();
    if (event > ClientProtocol::kLastSetEvent) {
        ALOGW("%s : event 0x%x is not a set event, ignored", __func__, event);
        return;
    }
    orvan::AxContext* context = mManager->getAxContext();
    if (context == nullptr) {
        ALOGE("%s AxManager doesn't initialize!", __func__);
        return;
    }

    bool answers = true;
    const int32_t answer = request.word(ClientProtocol::kSetArgumentOffset);
    switch (event) {
        case ClientProtocol::kEventOnOff:
            mManager->setAxOn(answer > 0);
            context->saveAxState();
            break;
        case ClientProtocol::kEventParameter:
            answers = false;
            mManager->setParameter(answer, request.word(ClientProtocol::kSetParameterIdOffset),
                                   request.words(ClientProtocol::kSetParameterValuesOffset));
            break;
        case ClientProtocol::kEventPortParameter:
            answers = false;
            mManager->setProfilePortParameter(answer, request.word(ClientProtocol::kSetPortOffset),
                                              request.word(ClientProtocol::kSetPortParameterIdOffset),
                                              request.words(ClientProtocol::kSetPortParameterValuesOffset));
            break;
        case ClientProtocol::kEventSave:
            answers = false;
            ALOGD("save settings");
            context->save();
            break;
        case ClientProtocol::kEventSelectProfile:
            ALOGD("set profile %d", answer);
            if (answer >= 0 && answer < context->getNumOfProfiles()) {
                context->setSelectedProfile(answer);
                if (context->getSelectedProfile() == answer) {
                    context->saveAxProfile();
                }
            }
            break;
        case ClientProtocol::kEventResetProfile:
            if (answer >= 0 && answer < context->getNumOfProfiles()) {
                context->resetProfile(answer);
            }
            break;
        default:
            answers = false;
            break;
    }
    if (answers && !ParameterBlob::writeWord(blob, request.length(), ClientProtocol::kSetAnswerOffset, answer)) {
        ALOGE("%s : Invalid input length, no room for the answer of event %u", __func__, event);
    }
}

}  // namespace android
