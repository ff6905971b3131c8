#define LOG_TAG "TevContext"

#include "engine/TevContext.h"

#include <array>
#include <utility>

#include <log/log.h>

namespace orvan {
namespace {

constexpr std::array<std::pair<Port, AndroidDevice>, kPortCount> kPortDevices = {{
    {PORT_INTERNAL_SPEAKER, DEVICE_SPEAKER},
    {PORT_HDMI, DEVICE_HDMI},
    {PORT_MIRACAST, DEVICE_REMOTE_SUBMIX},
    {PORT_HEADPHONE, DEVICE_WIRED_HEADPHONE},
    {PORT_BLUETOOTH, DEVICE_BLUETOOTH_A2DP},
    {PORT_USB, DEVICE_USB_DEVICE},
}};

ParameterTranslator* translatorOf(const TranslatorMap& translators, AndroidDevice device) {
    auto it = translators.find(device);
    if (it == translators.end() || !it->second) {
        ALOGE("No translator for device 0x%x: its changes will not reach the engine", device);
        return nullptr;
    }
    return it->second.get();
}

}  // namespace

const std::map<Port, AndroidDevice> TevContext::kDeviceForPort(kPortDevices.begin(), kPortDevices.end());

const std::map<AndroidDevice, Port> TevContext::kPortForDevice = [] {
    std::map<AndroidDevice, Port> inverse;
    for (const auto& [port, device] : kPortDevices) {
        inverse.emplace(device, port);
    }
    return inverse;
}();

TevContext::TevContext(const TranslatorMap& translators)
    : mProfileParameters(translatorOf(translators, DEVICE_ALL)) {
    for (const auto& [port, device] : kPortDevices) {
        mDeviceParameters.emplace(device,
                                  std::make_unique<DeviceParameters>(translatorOf(translators, device)));
    }
}

DeviceParameters* TevContext::getParameters(AndroidDevice device) {
    auto it = mDeviceParameters.find(device);
    if (it == mDeviceParameters.end()) {
        ALOGE("%s(): 0x%x is not an output device", __func__, device);
        return nullptr;
    }
    return it->second.get();
}

DeviceParameters* TevContext::getDeviceParameters(Port port) {
    auto it = kDeviceForPort.find(port);
    if (it == kDeviceForPort.end()) {
        ALOGE("%s(): port %d has no output device", __func__, static_cast<int>(port));
        return nullptr;
    }
    return getParameters(it->second);
}

void TevContext::setProfile(const Profile& profile) {
    mProfileParameters.setProfile(profile);
    for (auto& [device, parameters] : mDeviceParameters) {
        parameters->setProfile(profile);
    }
}

void TevContext::setGeqPreset(const GeqPreset& preset) {
    mProfileParameters.setGeqPreset(preset);
}

void TevContext::setIeqPreset(Port port, const IeqPreset& preset) {
    if (DeviceParameters* parameters = getDeviceParameters(port)) {
        parameters->setIeqPreset(preset);
    }
}

void TevContext::setProfileEndpoint(Port port, const ProfileEndpoint& endpoint) {
    if (DeviceParameters* parameters = getDeviceParameters(port)) {
        parameters->setProfileEndpoint(endpoint);
    }
}

void TevContext::setTuning(Port port, const Tuning& tuning) {
    if (DeviceParameters* parameters = getDeviceParameters(port)) {
        parameters->setTuning(tuning);
    }
}

}  // namespace orvan
