#pragma once

#include <memory>
#include <string>

#include <utils/Mutex.h>
#include <utils/Singleton.h>

#include "context/AxContext.h"
#include "context/AxContextChangeObservable.h"

namespace orvan {

class DeviceData;
class Provider;
class TuningFileParser;

// The process-wide owner of the stored state. The first getInstance() loads
// everything: it rebuilds the settings database from the default tuning file
// when that file changed since the last build, merges the OEM extra tuning
// file on top, and creates the sound context over the provider. One mutex
// serialises init, release and the OEM reload; when both are needed, this
// mutex is taken before the context's.
class AxContextManager : public android::Singleton<AxContextManager> {
public:
    // Does nothing when the context is already up; otherwise starts over.
    void init();
    // Deletes the context, the observable, the parser and the provider.
    void release();
    // Null when there is no default tuning file or no profile.
    AxContext* getAxContext();
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
    // Rebuilds the database when the default file changed, or always with
    // `force`; true when a rebuild was committed.
    bool initDatabase(Provider& provider, const std::string& file, bool force);
    // The freshly parsed data set, or null when the database is current (and
    // not `force`) or the file cannot be parsed.
    DeviceData* loadXmlIfChanged(const std::string& file, Provider& provider, bool force);
    // The file's modification time in whole seconds; "" when it cannot be read.
    std::string getSignature(const std::string& file);
    // The signature when it differs from the stored one, else "".
    std::string getChangedSignature(const std::string& file, Provider& provider);
    // Writes inside the caller's transaction.
    void populateDatabase(DeviceData& data, Provider& provider);
    // Without `ownTransaction` the rows are written into the caller's open
    // transaction and the caches are left for the caller.
    int loadOemTuningLocked(bool ownTransaction);

    std::unique_ptr<Provider> mProvider;
    std::unique_ptr<AxContextChangeObservable> mObservable;
    std::unique_ptr<AxContext> mContext;
    // Owns the data set of the default file between parse and population.
    std::unique_ptr<TuningFileParser> mParser;
    android::Mutex mLock;
};

}  // namespace orvan
