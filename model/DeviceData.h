#pragma once

#include <set>
#include <string>

#include "model/DeviceTuning.h"
#include "model/GeqPreset.h"
#include "model/IeqPreset.h"
#include "model/Profile.h"
#include "model/ProfileEndpoint.h"
#include "model/Tuning.h"

namespace orvan {

// What one parse of a tuning file produces. It does not own the records: they
// belong to the parser that created them.
class DeviceData {
public:
    DeviceData() = default;
    virtual ~DeviceData() = default;

    std::string getFormatVersion() const { return mFormatVersion; }
    std::string getToolVersion() const { return mToolVersion; }
    std::string getSignature() const { return mSignature; }
    void setFormatVersion(const std::string& v) { mFormatVersion = v; }
    void setToolVersion(const std::string& v) { mToolVersion = v; }
    void setSignature(const std::string& v) { mSignature = v; }

    std::set<IeqPreset*>& getIeqPresets() { return mIeqPresets; }
    std::set<GeqPreset*>& getGeqPresets() { return mGeqPresets; }
    std::set<Profile*>& getProfiles() { return mProfiles; }
    std::set<ProfileEndpoint*>& getProfileEndpoints() { return mProfileEndpoints; }
    std::set<Tuning*>& getTunings() { return mTunings; }
    std::set<DeviceTuning*>& getDeviceTunings() { return mDeviceTunings; }

    void setIeqPresets(const std::set<IeqPreset*>& s) { assign(mIeqPresets, s); }
    void setGeqPresets(const std::set<GeqPreset*>& s) { assign(mGeqPresets, s); }
    void setProfiles(const std::set<Profile*>& s) { assign(mProfiles, s); }
    void setProfileEndPoints(const std::set<ProfileEndpoint*>& s) { assign(mProfileEndpoints, s); }
    void setTunings(const std::set<Tuning*>& s) { assign(mTunings, s); }
    void setDeviceTunings(const std::set<DeviceTuning*>& s) { assign(mDeviceTunings, s); }

    // Forces the selected IEQ preset of every endpoint whose IEQ is off to "off".
    void validateData();

private:
    template <typename T>
    static void assign(std::set<T*>& to, const std::set<T*>& from) {
        if (&to != &from) {
            to = from;
        }
    }

    std::string mFormatVersion;
    std::string mToolVersion;
    std::string mSignature;
    std::set<IeqPreset*> mIeqPresets;
    std::set<GeqPreset*> mGeqPresets;
    std::set<Profile*> mProfiles;
    std::set<ProfileEndpoint*> mProfileEndpoints;
    std::set<Tuning*> mTunings;
    std::set<DeviceTuning*> mDeviceTunings;
};

}  // namespace orvan
