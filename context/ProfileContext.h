#pragma once

#include <memory>
#include <set>

#include "model/GeqPreset.h"
#include "model/IeqPreset.h"
#include "model/Profile.h"
#include "model/ProfileEndpoint.h"

namespace orvan {

class Provider;

// The working state of one profile (its record, one endpoint record per
// Endpoint, its GEQ preset) next to the factory state of the same profile.
// The records live in the provider's store. No lock: the sound context
// serialises every call.
class ProfileContext {
public:
    // The factory records of a profile, taken on the first comparison with
    // them and kept.
    class Defaults {
    public:
        Defaults(Provider* provider, int profile);

        Profile* getProfile() const { return mProfile; }
        const std::set<ProfileEndpoint*>& getProfileEndpoints() const { return mProfileEndpoints; }
        GeqPreset* getGeqPreset() const { return mGeqPreset; }

    private:
        Profile* mProfile;
        std::set<ProfileEndpoint*> mProfileEndpoints;
        GeqPreset* mGeqPreset;
    };

    ProfileContext(Provider* provider, int profile);
    ProfileContext(const ProfileContext&) = delete;
    ProfileContext& operator=(const ProfileContext&) = delete;

    int getId() const { return mId; }

    // (Re)reads the working records from the user's rows; unsaved changes are
    // lost. Records the provider has not built yet (see Provider::init) are
    // taken at the first use of the profile instead.
    void load();
    // Writes the working records that changed over the user's rows; true
    // when all were written.
    bool save();
    bool isDirty() const;
    // Marks every working record changed: a save that wrote them was rolled back.
    void setDirty();
    // Returns the working records to the factory values (in memory only).
    void reset();
    GeqPreset* resetGeq();

    Profile* getProfile();
    GeqPreset* getSelectedGeqPreset();
    // Ends the process when the profile holds no record for `endpoint`.
    ProfileEndpoint* getProfileEndpoint(Endpoint endpoint);
    // The IEQ curve in force: the "off" curve whenever IEQ is disabled there.
    IeqPreset* getSelectedIeqPreset(Endpoint endpoint);

    bool isModified();
    bool isProfileSpecificSettingsModified();
    // Compares with the factory GEQ row read afresh.
    bool isGeqModified();

    // Whether IEQ is switched on in an endpoint record; an absent or empty
    // "ieq_enable" counts as off.
    static bool isIeqEnabled(const ProfileEndpoint& endpoint);

private:
    static bool isGeqDifferent(const GeqPreset* working, const GeqPreset* factory);
    // Takes the records from the provider, now or, when load() left that
    // for later, at the first use.
    void takeRecords();
    void takeWaitingRecords();
    // Null until the first load.
    const Defaults* defaults() const;

    Provider* mProvider;
    int mId;
    Profile* mProfile = nullptr;
    std::set<ProfileEndpoint*> mProfileEndpoints;
    GeqPreset* mGeqPreset = nullptr;
    bool mLoaded = false;
    // Whether load() left taking the records to the first use.
    bool mWaiting = false;
    // Taken when first compared with: a start compares nothing.
    mutable std::unique_ptr<Defaults> mDefaults;
};

}  // namespace orvan
