#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "model/DeviceTuning.h"
#include "model/GeqPreset.h"
#include "model/IeqPreset.h"
#include "model/Parameter.h"
#include "model/Port.h"
#include "model/Profile.h"
#include "model/ProfileEndpoint.h"
#include "model/Tuning.h"
#include "storage/SettingsConnection.h"

namespace orvan {

class DatabaseHelper;
class StartupSnapshot;

// The object store over the settings database. Rows come in "default" (factory,
// from the tuning files), "oem" (tunings from the OEM extra file) and "custom"
// (the user's) kinds. The provider owns every record it hands out: the
// per-profile objects made by init(), the IEQ presets, and the cached tunings and
// device tunings. They stay valid until the provider is destroyed; loads and
// reloads refresh them in place.
//
// Every public operation is virtual so another store can stand in. Not
// thread-safe: the sound context and the start-up loader serialise all calls.
class Provider {
public:
    static constexpr const char* kTevState = "State";
    static constexpr const char* kSelectedProfile = "Profile";
    static constexpr const char* kFormatVersion = "version";
    static constexpr const char* kSignature = "signature";
    // Beside the signature: the exact facts and the digest of the default
    // tuning file the database was built from (see TuningFileSignature).
    static constexpr const char* kSignatureDetail = "signature_detail";
    static constexpr const char* kSignatureDigest = "signature_digest";
    static constexpr const char* kCustomName = "custom";
    static constexpr const char* kOemName = "oem";
    static constexpr const char* kDefaultName = "default";
    static constexpr const char* kDatabaseFile = "zel_sqlite3.db";

    // Opens the database in the data directory; see SettingsConnection::Reads.
    explicit Provider(SettingsConnection::Reads afterOpen = SettingsConnection::Reads::kReleased);

    // Why the database cannot serve (see DatabaseHelper::getOpenProblem); "" when it can.
    const std::string& getOpenProblem() const;
    // See DatabaseHelper::getSetAsideAtOpen.
    const std::string& getSetAsideAtOpen() const;
    // Why the last transaction was rolled back, for people; "" when it was committed.
    std::string getLastTransactionProblem() const;
    // Whether a read or write met damage; see DatabaseHelper::setAsideDamaged.
    bool isDamaged() const;
    std::string setAsideDamaged();

    virtual ~Provider();
    // The stored selected profile index; -1 when none is stored.
    virtual int getSelectedProfile();
    virtual int getNumOfProfiles();
    virtual bool isTevOn();
    // The tuning of a device of a cached port (see loadDeviceTuningsForPort);
    // null when no such device or no tuning row exists.
    virtual Tuning* loadTuningForDevice(const std::string& deviceName);
    // Caches the tunings of these devices in one read where the database
    // allows (see DatabaseHelper::queryTunings), so that loadTuningForDevice
    // finds them; else leaves them to it.
    virtual void cacheTuningsForDevices(const std::vector<std::string>& deviceNames);
    // The device tunings of `port`, cached on first use. The cache owns them.
    virtual std::set<DeviceTuning*> loadDeviceTuningsForPort(Port port);
    virtual void initDatabase();
    // The setters below write at once; false when the write failed.
    virtual bool setTevOn(bool on);
    virtual void updateDeviceTuning(const std::string& key, const std::string& value);
    // Null for an index outside 0 .. getNumOfProfiles() - 1.
    virtual Profile* loadDefaultProfile(int index);
    virtual bool setSelectedProfile(int index);
    // One record per Endpoint, always; empty for an index out of range.
    virtual std::set<ProfileEndpoint*> loadDefaultProfileEndpoints(int index);
    virtual std::set<ProfileEndpoint*> loadProfileEndpoints(int index);
    virtual Profile* loadProfile(int index);
    virtual ProfileEndpoint* loadProfileEndpoint(int index, Endpoint endpoint);
    // Write the record over its "custom" row; true when written.
    virtual bool save(Profile* profile);
    virtual bool save(ProfileEndpoint* endpoint);
    virtual bool save(GeqPreset* preset);
    // Reload the record's values from its "default" row, keeping its id;
    // return the record.
    virtual Profile* reset(Profile* profile);
    virtual ProfileEndpoint* reset(ProfileEndpoint* endpoint);
    virtual GeqPreset* reset(GeqPreset* preset);
    virtual void create(IeqPreset* preset);
    // Two rows each, "default" then "custom"; the record keeps the custom row's id.
    virtual void create(GeqPreset* preset);
    virtual void create(Profile* profile);
    virtual void create(ProfileEndpoint* endpoint);
    virtual void create(Tuning* tuning, const std::string& customName);
    virtual void create(DeviceTuning* deviceTuning, const std::string& customName);
    virtual void clearOemTunings();
    virtual void clearOemDeviceTunings();
    // Re-reads the device tunings of every port and refreshes the cached tunings.
    virtual void reloadCachedDeviceTunings();
    virtual void clear();
    // False when the transaction could not be started, or was rolled back
    // because one of its statements failed (see DatabaseHelper).
    virtual bool beginTransaction();
    virtual bool commitTransaction();
    // Also seeds the selected profile ("0") and the on state ("true").
    virtual void setDefaultXmlSignature(const std::string& signature);
    virtual std::string getDefaultXmlSignature();
    // A configuration key: false when the table could not be read (busy,
    // damaged), "" for a missing key.
    bool readConfigurationValue(const std::string& key, std::string* value);
    // Updates the key or adds it.
    bool writeConfigurationValue(const std::string& key, const std::string& value);
    virtual void setDefaultXmlFormatVersion(const std::string& version);
    virtual std::string getDefaultXmlFormatVersion();
    virtual void setDeviceTuning(const std::string& key, const std::string& value);
    virtual std::string getDeviceTuning(const std::string& key);
    // The "default" curve of `type`; null for a value outside PresetType.
    virtual IeqPreset* loadIeqPreset(PresetType type);

    GeqPreset* loadDefaultGeqPreset(int index);
    GeqPreset* loadGeqPreset(int index);
    // What the start-up read does with the "default" rows of a profile's
    // records: keeps them, or only counts them (enough for init(), which
    // builds no factory record).
    enum class FactoryRows { kKept, kCounted };
    // Every row a start builds records from, read in one pass.
    StartupSnapshot readStartupSnapshot(FactoryRows factoryRows = FactoryRows::kKept);
    // Between these, reads share one read transaction, which any write ends.
    void holdReads();
    void releaseReads();
    // Counts the default profiles and builds their working records (profile,
    // endpoints and GEQ preset) and the devices of every port from
    // `snapshot`, asking SQL for what it did not read: 0, -19 when the
    // database holds no default profile, -5 when it could not be read. The
    // factory records are built, all in one read, when the first of them is
    // loaded. The first load of a record built so hands it out as built;
    // later loads read its row again.
    //
    // A profile whose every working row `snapshot` holds is built at the
    // first load of one of its working records instead, from `snapshot`,
    // which the provider keeps until then: what that load hands out is what
    // init() would have built. A start uses only the selected profile.
    int init(std::shared_ptr<const StartupSnapshot> snapshot);
    // init() with a snapshot read now, which builds the factory records too.
    int init();
    // Whether the working records of profile `index` wait for their first
    // load to be built (see init()).
    bool isDeferred(int index) const;
    // The factory IEQ curves, each from `snapshot` or else SQL.
    void loadIeqPresets(const StartupSnapshot& snapshot);

private:
    // The records of one profile: factory state and the user's working state.
    struct ProfileRecords {
        std::unique_ptr<Profile> defaultProfile;
        std::unique_ptr<Profile> customProfile;
        std::unique_ptr<GeqPreset> defaultGeq;
        std::unique_ptr<GeqPreset> customGeq;
        std::array<std::unique_ptr<ProfileEndpoint>, kEndpointCount> defaultEndpoints;
        std::array<std::unique_ptr<ProfileEndpoint>, kEndpointCount> customEndpoints;
    };

    ProfileRecords* records(int index, const char* caller);
    // The loads read the record's row from `snapshot` where it read the
    // table, else through SQL; a record init() built and no load has handed
    // out yet is handed out as it is.
    Profile* loadProfileRecord(int index, const char* customName, bool isDefault,
                               const StartupSnapshot* snapshot = nullptr);
    ProfileEndpoint* loadEndpointRecord(int index, Endpoint endpoint, bool isDefault,
                                        const StartupSnapshot* snapshot = nullptr);
    std::set<ProfileEndpoint*> loadEndpointRecords(int index, bool isDefault,
                                                   const StartupSnapshot* snapshot = nullptr);
    GeqPreset* loadGeqRecord(int index, bool isDefault, const StartupSnapshot* snapshot = nullptr);
    IeqPreset* loadIeqRecord(PresetType type, const StartupSnapshot* snapshot);
    void buildRecords(const StartupSnapshot& snapshot);
    // Builds the working or the factory records of profile `index` from
    // `snapshot`; they wait in mBuilt for their first load.
    void buildProfileRecords(int index, bool isDefault, const StartupSnapshot& snapshot);
    // Whether `snapshot` holds rows for every working record of `index`, so
    // that building them asks no SQL and leaves them clean.
    bool holdsWorkingRows(int index, const StartupSnapshot& snapshot) const;
    // Builds the working records of `index` if they wait for their first load.
    void buildDeferred(int index);
    // The first time a factory record is asked for: every profile's factory
    // records from one read, as init() builds the working ones.
    void buildDefaults();
    void buildDefaults(const StartupSnapshot& snapshot);
    // Reads the device tunings of `port` into the cache unless it holds them.
    void cacheDeviceTunings(Port port, const StartupSnapshot* snapshot);
    // Whether `record` was built by init() and not handed out since; it is now.
    bool takeBuilt(const ParameterValues* record) { return mBuilt.erase(record) != 0; }
    // After the lookup of `record`'s row (`row` names it in the log): a found
    // row leaves the record clean; a missing "custom" row gives way to the
    // factory values, left dirty so that the next save writes the row again.
    template <typename Record>
    void settleLoaded(Record* record, bool found, bool isDefault, const std::string& row,
                      const StartupSnapshot* snapshot);
    Profile* resetFrom(Profile* profile, const StartupSnapshot* snapshot);
    ProfileEndpoint* resetFrom(ProfileEndpoint* endpoint, const StartupSnapshot* snapshot);
    GeqPreset* resetFrom(GeqPreset* preset, const StartupSnapshot* snapshot);
    void checkNumbering(const StartupSnapshot& snapshot);
    DeviceTuning* findCachedDevice(const std::string& deviceName) const;
    Tuning* findCachedTuning(const std::string& name) const;

    std::unique_ptr<DatabaseHelper> mHelper;
    // Where each loaded record's row stands (its rowid), so that a save
    // updates it there instead of searching the table; -1 when unknown.
    std::unordered_map<const ParameterValues*, int64_t> mRowIds;
    std::vector<std::unique_ptr<Tuning>> mTunings;
    std::vector<std::unique_ptr<ProfileRecords>> mProfiles;
    int32_t mNumProfiles = 0;
    std::map<Port, std::vector<std::unique_ptr<DeviceTuning>>> mDeviceTunings;
    std::array<std::unique_ptr<IeqPreset>, kPresetTypeCount> mIeqPresets;
    // Records init() or buildDefaults() built that no load has handed out yet.
    std::unordered_set<const ParameterValues*> mBuilt;
    // Whether buildDefaults() ran since the last init().
    bool mDefaultsBuilt = false;
    // By profile index: whether its working records wait for their first
    // load; mStartRows, which they are built from, is kept while one does.
    std::vector<bool> mDeferred;
    int mDeferredLeft = 0;
    std::shared_ptr<const StartupSnapshot> mStartRows;
    // Whether mIeqPresets[type] holds its stored curve: factory rows change
    // only with a rebuild, which comes before any reader.
    std::array<bool, kPresetTypeCount> mIeqLoaded{};
    // Records replaced or dropped in the caches but possibly still held by a
    // caller, who keeps reading the values they had.
    std::vector<std::unique_ptr<Tuning>> mRetiredTunings;
    std::vector<std::unique_ptr<DeviceTuning>> mRetiredDeviceTunings;
};

}  // namespace orvan
