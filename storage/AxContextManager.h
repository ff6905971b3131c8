#pragma once

#include <memory>
#include <string>

#include <utils/Mutex.h>
#include <utils/Singleton.h>


namespace orvan {

// The sound context sits above storage; only the .cpp, which creates it, sees it.
class AxContext;
class AxContextChangeObservable;
class DeviceData;
class Provider;
class SettingsLock;
class TuningFileParser;
class TuningFileSignature;

// The process-wide owner of the stored state. The first getInstance() loads
// everything: it takes the settings lock of the data directory (one service
// per directory at a time), rebuilds the settings database from the default
// tuning file when that file changed since the last build, merges the OEM
// extra tuning file on top, and creates the sound context over the provider.
// A database that cannot be read (busy past the wait, unopenable) is never
// rebuilt: the start is refused and getStartProblem() says why. One mutex
// serialises init, release and the OEM reload; when both are needed, this
// mutex is taken before the context's, and the database's own lock after both.
class AxContextManager : public android::Singleton<AxContextManager> {
public:
    // Does nothing when the context is already up; otherwise starts over.
    void init();
    // Deletes the context, the observable, the parser and the provider.
    void release();
    // Null when there is no default tuning file or no profile.
    AxContext* getAxContext();
    // Why the last init() gave no context, for people (naming the file and
    // the cause); "" when it gave one.
    std::string getStartProblem();
    // What the last init() got past, for people. Where it moved a damaged
    // settings database; "" when it moved none.
    std::string getSetAsideDatabase();
    // Why it did not load the default tuning file although the file changed
    // since the database was built (the stored settings serve then); "" when
    // it loaded the file or the file had not changed.
    std::string getDefaultFileProblem();
    std::string getDefaultXmlFormatVersion();
    // Merges the OEM extra tuning file again and has the context re-check its
    // tunings: 0, -2 when the file is missing, -22 when it is refused, -5 when
    // it could not be stored, -19 when nothing is loaded.
    int loadOemTuning();

private:
    friend class android::Singleton<AxContextManager>;

    AxContextManager();
    ~AxContextManager();

    void releaseLocked();
    // Opens the database, rebuilds it when the default file changed and loads
    // the context; true when the context is up on a sound database.
    bool loadLocked(const std::string& file);
    // Rebuilds the database when the default file changed, or always with
    // `force`; true when a rebuild was committed. Sets mStartProblem when the
    // stored signature could not be read.
    bool initDatabase(Provider& provider, const std::string& file, bool force);
    // The freshly parsed data set, or null when the database is current (and
    // not `force`), the stored signature cannot be read, or the file cannot
    // be parsed.
    DeviceData* loadXmlIfChanged(const std::string& file, Provider& provider, bool force);
    enum class Stored { kSame, kChanged, kUnreadable };
    // Whether the database was built from the file `signature` describes.
    // Identical bytes under new facts have their facts stored, so the next
    // start needs no digest.
    Stored compareSignature(TuningFileSignature& signature, Provider& provider);
    // Writes inside the caller's transaction.
    void populateDatabase(DeviceData& data, Provider& provider);
    // Without `ownTransaction` the rows are written into the caller's open
    // transaction and the caches are left for the caller.
    int loadOemTuningLocked(bool ownTransaction);

    std::unique_ptr<SettingsLock> mSettingsLock;
    std::unique_ptr<Provider> mProvider;
    // The signature of the default file being built into the database.
    std::unique_ptr<TuningFileSignature> mBuilding;
    std::string mStartProblem;
    std::string mSetAsideDatabase;
    std::string mDefaultFileProblem;
    std::unique_ptr<AxContextChangeObservable> mObservable;
    std::unique_ptr<AxContext> mContext;
    // Owns the data set of the default file between parse and population.
    std::unique_ptr<TuningFileParser> mParser;
    android::Mutex mLock;
};

}  // namespace orvan
