#pragma once

#include <array>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <utils/Mutex.h>

#include "context/AxContextChangeObservable.h"
#include "context/ProfileContext.h"
#include "model/Parameter.h"
#include "model/ParameterValues.h"
#include "model/Port.h"

namespace orvan {

class Provider;

// The in-memory state of every setting: the engine on/off state, one
// ProfileContext per profile, the selected profile, and per output port the
// selected tuning device and its Tuning. It persists through the Provider and
// reports each change through the observable it is given.
//
// Thread-safe: every public operation holds one non-recursive mutex and never
// calls another public operation while holding it. Changes are made under the
// mutex; listeners are then called without it, on the caller's thread.
// An unknown profile id is fatal (callers check ids first); a bad port,
// endpoint, parameter or value list is logged and refused.
class AxContext {
public:
    static const std::set<Port> kSupportedPorts;

    // Neither pointer is owned; both must outlive the context.
    AxContext(Provider* provider, AxContextChangeObservable* observable);
    ~AxContext();
    AxContext(const AxContext&) = delete;
    AxContext& operator=(const AxContext&) = delete;

    // Loads every profile, the selection, the on state and the tuning of every
    // port from the store, then notifies onLoad.
    void load();
    // Re-reads every profile, the selected profile and the on state.
    void reloadAllProfile();
    // Re-validates the selected device of every port after the device tunings
    // changed, falling back to the port's default device.
    void reloadTuning();
    // Rebuilds the store's device-tuning cache, which other threads read
    // through this context.
    void reloadCachedDeviceTunings();
    // Adds the listener and calls its onLoad at once, without the lock.
    void registerObserver(OnAxContextChange* observer);
    void unregisterObserver(OnAxContextChange* observer);

    bool getTevOn();
    // Not persisted: see saveAxState.
    void setTevOn(bool on);

    int getNumOfProfiles() const { return mNumOfProfiles; }
    // -1 when there is no profile at all.
    int getSelectedProfile();
    bool isSelected(int id);
    ProfileContext* getContext(int id);
    Profile* getProfile(int id);
    GeqPreset* getProfileGeq(int id);
    Profile* getDefaultProfile(int id);
    // Of the selected profile; null when there is none.
    ProfileEndpoint* getProfileEndpoint(Endpoint endpoint);
    ProfileEndpoint* getProfileEndpoint(int id, Endpoint endpoint);
    // Not persisted: see saveAxProfile.
    void setSelectedProfile(int id);
    // For the endpoint of the port's selected tuning; null when the port has none.
    ProfileEndpoint* getSelectedProfileEndpoint(Port port);
    IeqPreset* getSelectedProfileIeq(Port port);
    GeqPreset* getSelectedProfileGeq();
    bool isProfileModified(int id);
    bool isProfileGeqModified(int id);
    bool isProfileSpecificSettingsModified(int id);
    // In memory; a following save writes the factory values over the user's.
    void resetProfile(int id);
    void resetProfileGeq(int id);

    // Writes a value into any record, without notifying.
    void setParameter(ParameterValues& record, Parameter parameter, const Values& values);
    // The setters return false when the write was refused; writing the value
    // already held is accepted and notifies nobody.
    bool setProfileParameter(int id, Parameter parameter, const Values& values);
    // "ieq_id" selects the IEQ curve of that type for the endpoint; the IEQ
    // curves themselves are factory data and cannot be written.
    bool setProfileParameter(int id, Endpoint endpoint, Parameter parameter, const Values& values);
    bool setProfileGeqParameter(int id, Parameter parameter, const Values& values);
    // Empty when the record holds no value. IEQ parameters read the curve in
    // force for the endpoint.
    Values getProfileParameter(int id, Parameter parameter);
    Values getProfileParameter(int id, Endpoint endpoint, Parameter parameter);
    Values getProfileGeqParameter(int id, Parameter parameter);
    Values getSelectedTuningParameter(Port port, Parameter parameter);

    // Sorted by name.
    std::vector<std::string> getAvailableTuningDevice(Port port);
    // "default_" + the port's name when the port offers it, else "".
    std::string getDefaultTuningDevice(Port port);
    std::string getSelectedTuningDevice(Port port);
    Tuning* getSelectedTuning(Port port);
    bool selectDefaultTuning(Port port);
    // Selects and stores `device` for the port when its tuning is found.
    // Listeners hear of it when the selection changed, or always with `force`.
    bool setSelectedTuning(Port port, const std::string& device, bool force);

    // What changed since the last save (the on state, the selected profile,
    // the profile records marked dirty), in one transaction: false, with the
    // earlier save kept whole, when a write failed. Without a change it
    // writes nothing at all.
    bool save();
    // Why the last save() or saveAxProfileSettings() was rolled back, for
    // people (the database's path and the cause: busy, read-only, full,
    // removed); "" when it stored everything.
    std::string getLastSaveProblem();
    void saveAxState();
    void saveAxProfile();
    bool saveAxProfileSettings();

private:
    using Lock = std::unique_lock<android::Mutex>;

    ProfileContext* findContextLocked(int id) const;
    void selectStoredProfileLocked();
    std::vector<std::string> availableDevicesLocked(Port port);
    std::string defaultDeviceLocked(Port port);
    Tuning* loadPortTuningLocked(Port port);
    // The stored device of the port, or its default device where that is
    // unusable; "" when the port has neither.
    std::string portDeviceLocked(Port port);
    // Selects `device`'s tuning for the port (none for "").
    Tuning* selectPortTuningLocked(Port port, std::string device);
    // Returns the tuning to announce, or null when there is nothing to announce.
    Tuning* selectTuningLocked(Port port, const std::string& device, bool force, bool* selected);
    std::vector<Port> portsOfEndpointLocked(Endpoint endpoint) const;
    // Returns whether the values changed.
    bool writeLocked(ParameterValues& record, Parameter parameter, const Values& values);
    bool selectIeqPreset(int id, Endpoint endpoint, const Values& values);
    // Commits the save's transaction and keeps its outcome.
    bool finishSaveLocked(bool saved);
    bool anyProfileDirtyLocked() const;

    Provider* const mProvider;
    AxContextChangeObservable* const mObservable;
    const int mNumOfProfiles;
    // Indexed by profile id.
    std::vector<std::unique_ptr<ProfileContext>> mContexts;
    ProfileContext* mSelected = nullptr;
    bool mTevOn = false;
    // What the database holds, so that a save writes only what differs.
    bool mStoredTevOn = false;
    int mStoredProfile = -1;
    // Indexed by Port; a port without a usable device holds "" and null.
    std::array<std::string, kPortCount> mSelectedDevices;
    std::array<Tuning*, kPortCount> mSelectedTunings{};
    std::string mLastSaveProblem;
    android::Mutex mLock;
};

}  // namespace orvan
