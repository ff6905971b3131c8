#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "engine/DeviceParameters.h"
#include "engine/ParameterTranslator.h"
#include "engine/ProfileParameters.h"
#include "model/GeqPreset.h"
#include "model/IeqPreset.h"
#include "model/Port.h"
#include "model/Profile.h"
#include "model/ProfileEndpoint.h"
#include "model/Tuning.h"

namespace orvan {

// Platform output-device bits, plus the key of the profile-wide parameters.
enum AndroidDevice : int32_t {
    DEVICE_SPEAKER = 2,
    DEVICE_WIRED_HEADPHONE = 8,
    DEVICE_BLUETOOTH_A2DP = 128,
    DEVICE_HDMI = 1024,
    DEVICE_USB_DEVICE = 16384,
    DEVICE_REMOTE_SUBMIX = 32768,
    DEVICE_ALL = 0x40000000,
};

// One translator per device; the engine controller owns them.
using TranslatorMap = std::map<AndroidDevice, std::unique_ptr<ParameterTranslator>>;

// The effective parameter sets the engine is driven from: one profile-wide
// set and one set per output device, each reporting its changes to the
// translator of its device. No lock: the engine controller serialises calls.
class TevContext {
public:
    static const std::map<Port, AndroidDevice> kDeviceForPort;
    static const std::map<AndroidDevice, Port> kPortForDevice;

    // Every device of kDeviceForPort and DEVICE_ALL must have a translator;
    // the map must outlive the context.
    explicit TevContext(const TranslatorMap& translators);
    TevContext(const TevContext&) = delete;
    TevContext& operator=(const TevContext&) = delete;

    ProfileParameters& getProfileParameters() { return mProfileParameters; }
    // Null (logged) for a device that is not an output device.
    DeviceParameters* getParameters(AndroidDevice device);
    // Null (logged) for a port without a device.
    DeviceParameters* getDeviceParameters(Port port);

    // Each set keeps the parameters of its own level.
    void setProfile(const Profile& profile);
    void setGeqPreset(const GeqPreset& preset);
    void setIeqPreset(Port port, const IeqPreset& preset);
    void setProfileEndpoint(Port port, const ProfileEndpoint& endpoint);
    void setTuning(Port port, const Tuning& tuning);

private:
    ProfileParameters mProfileParameters;
    std::map<AndroidDevice, std::unique_ptr<DeviceParameters>> mDeviceParameters;
};

}  // namespace orvan
