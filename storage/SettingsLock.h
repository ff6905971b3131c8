#pragma once

#include <sys/types.h>

#include <string>

namespace orvan {

// Keeps the services of other processes off one data directory's settings
// for as long as it is held: each service loads every setting at its start
// and saves them when it leaves, so two at once would overwrite each other.
// An advisory lock (flock) on a file beside the settings database, released
// by the kernel when the holder ends in any way. Within one process the
// context manager is the only holder.
class SettingsLock {
public:
    static constexpr const char* kFileName = "zel_sqlite3.db.lock";
    // How long a second service waits for the first before it gives up.
    static constexpr int kWaitLimitMs = 30000;

    SettingsLock() = default;
    ~SettingsLock();
    SettingsLock(const SettingsLock&) = delete;
    SettingsLock& operator=(const SettingsLock&) = delete;

    // Takes the lock of `directory` (ending with "/"), waiting up to
    // `waitMs`. False, with `problem` naming the holder, when another process
    // kept it that long. A directory where no lock file can be made (missing,
    // read-only) holds no settings to protect: that is logged and true.
    bool acquire(const std::string& directory, int waitMs, std::string* problem);
    // The process holding the lock of `directory`; 0 when none does.
    static pid_t holder(const std::string& directory);

private:
    int mFd = -1;
};

}  // namespace orvan
