#define LOG_TAG "TevController"

#include "engine/TevController.h"

#include <log/log.h>

#include "context/AxContext.h"
#include "engine/SetParamCommand.h"

namespace orvan {

const std::set<AndroidDevice> TevController::kDevices = {
    DEVICE_ALL, DEVICE_SPEAKER, DEVICE_WIRED_HEADPHONE, DEVICE_BLUETOOTH_A2DP,
    DEVICE_HDMI, DEVICE_USB_DEVICE, DEVICE_REMOTE_SUBMIX,
};

TevController::TevController(int32_t device, TevEffect& effect) : mDevice(device), mTevEffect(&effect) {
    for (AndroidDevice d : kDevices) {
        mTranslators.emplace(d, std::make_unique<ParameterTranslator>());
    }
    mTevContext = std::make_unique<TevContext>(mTranslators);
}

TevController::~TevController() = default;

void TevController::onLoad(AxContext& context) {
    ALOGI("onLoad()");
    refresh(context, true);
}

void TevController::onTevOnChanged(AxContext& /*context*/, bool /*on*/) {
    // The engine is switched on and off by its host, not through parameters.
}

void TevController::onSelectedProfileChanged(AxContext& context) {
    const int id = context.getSelectedProfile();
    const Profile* profile = id >= 0 ? context.getProfile(id) : nullptr;
    ALOGI("Profile Changed to %s", profile != nullptr ? profile->getName().c_str() : "");
    refresh(context, false);
}

void TevController::onSelectedProfileParameterChanged(AxContext& /*context*/, Profile& profile) {
    mTevContext->setProfile(profile);
    sendParameters(DEVICE_ALL);
}

void TevController::onSelectedProfileEndpointChanged(AxContext& /*context*/, Port port,
                                                     ProfileEndpoint& endpoint) {
    mTevContext->setProfileEndpoint(port, endpoint);
    sendParameters(DEVICE_ALL);
}

void TevController::onSelectedProfileIeqChanged(AxContext& /*context*/, Port port, IeqPreset& preset) {
    mTevContext->setIeqPreset(port, preset);
    sendParameters(DEVICE_ALL);
}

void TevController::onSelectedProfileGeqChanged(AxContext& /*context*/, GeqPreset& preset) {
    mTevContext->setGeqPreset(preset);
    sendParameters(DEVICE_ALL);
}

void TevController::onSelectedTuningChanged(AxContext& context, Port port, Tuning& tuning) {
    // A new tuning may play on another endpoint, whose profile settings and
    // IEQ curve then apply; they go first, as in a full refresh.
    applyPortEndpoint(context, port);
    applyTuning(port, tuning);
    sendParameters(DEVICE_ALL);
}

int32_t TevController::sendParameters(AndroidDevice device) {
    SetParamCommand command(device);
    for (auto& [d, translator] : mTranslators) {
        command.setDeviceId(d);
        translator->translatePending(command);
    }
    return command.execute(*mTevEffect);
}

int32_t TevController::setTevEffect(TevEffect& effect, AxContext& /*context*/) {
    mTevEffect = &effect;
    SetParamCommand command(DEVICE_ALL);
    for (auto& [d, translator] : mTranslators) {
        command.setDeviceId(d);
        translator->translateAll(command);
    }
    return command.execute(*mTevEffect);
}

void TevController::refresh(AxContext& context, bool withTunings) {
    const int id = context.getSelectedProfile();
    if (id < 0) {
        ALOGE("%s(): no profile is selected, nothing to send", __func__);
        return;
    }
    if (const Profile* profile = context.getProfile(id)) {
        mTevContext->setProfile(*profile);
    }
    if (const GeqPreset* geq = context.getSelectedProfileGeq()) {
        mTevContext->setGeqPreset(*geq);
    }
    for (const auto& [port, device] : TevContext::kDeviceForPort) {
        applyPortEndpoint(context, port);
        if (!withTunings) {
            continue;
        }
        if (const Tuning* tuning = context.getSelectedTuning(port)) {
            applyTuning(port, *tuning);
        } else {
            ALOGE("No tuning found for port : %s", portName(port));
        }
    }
    sendParameters(DEVICE_ALL);
}

void TevController::applyPortEndpoint(AxContext& context, Port port) {
    const ProfileEndpoint* endpoint = context.getSelectedProfileEndpoint(port);
    if (endpoint == nullptr) {
        ALOGE("No profile endpoint found for port : %d", static_cast<int>(port));
        return;
    }
    mTevContext->setProfileEndpoint(port, *endpoint);
    if (const IeqPreset* ieq = context.getSelectedProfileIeq(port)) {
        mTevContext->setIeqPreset(port, *ieq);
    }
}

void TevController::applyTuning(Port port, const Tuning& tuning) {
    auto device = TevContext::kDeviceForPort.find(port);
    if (device == TevContext::kDeviceForPort.end()) {
        ALOGE("%s(): port %d has no output device", __func__, static_cast<int>(port));
        return;
    }
    ParameterTranslator& translator = *mTranslators.at(device->second);
    const Endpoint endpoint = translator.getEndpoint();
    const bool mono = translator.isMono();
    mTevContext->setTuning(port, tuning);
    if (translator.getEndpoint() != endpoint || translator.isMono() != mono) {
        translator.onParameterChanged(virtualizer_enable);
    }
}

}  // namespace orvan
