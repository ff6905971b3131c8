#define LOG_TAG "SettingsLock"

#include "storage/SettingsLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <log/log.h>

namespace orvan {
namespace {

pid_t readPid(int fd) {
    char text[32] = {};
    const ssize_t n = pread(fd, text, sizeof(text) - 1, 0);
    return n > 0 ? static_cast<pid_t>(std::atol(text)) : 0;
}

}  // namespace

SettingsLock::~SettingsLock() {
    if (mFd >= 0) {
        close(mFd);  // releases the lock
    }
}

bool SettingsLock::acquire(const std::string& directory, int waitMs, std::string* problem) {
    const std::string path = directory + kFileName;
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        ALOGW("cannot make the lock file %s (%s): the settings are not guarded against other processes",
              path.c_str(), strerror(errno));
        return true;
    }
    const auto start = std::chrono::steady_clock::now();
    bool told = false;
    while (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        const auto waited = std::chrono::duration_cast<std::chrono::milliseconds>(
                std::chrono::steady_clock::now() - start).count();
        if ((error != EWOULDBLOCK && error != EINTR) || waited >= waitMs) {
            *problem = error == EWOULDBLOCK
                               ? "the settings in " + directory + " are in use by another service (process " +
                                         std::to_string(readPid(fd)) + ") for more than " +
                                         std::to_string(waitMs / 1000) + " s"
                               : "cannot lock " + path + ": " + strerror(error);
            ALOGE("%s", problem->c_str());
            close(fd);
            return false;
        }
        if (!told && waited >= 1000) {
            told = true;
            ALOGW("the settings in %s are in use by another service (process %d): waiting", directory.c_str(),
                  static_cast<int>(readPid(fd)));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    // Written over the last holder, then cut to length: emptying the file
    // first costs the file system a block freed and another allocated.
    const std::string pid = std::to_string(getpid()) + "\n";
    if (pwrite(fd, pid.data(), pid.size(), 0) != static_cast<ssize_t>(pid.size()) ||
        ftruncate(fd, static_cast<off_t>(pid.size())) != 0) {
        ALOGW("cannot write the holder into %s: %s", path.c_str(), strerror(errno));
    }
    mFd = fd;
    return true;
}

pid_t SettingsLock::holder(const std::string& directory) {
    const int fd = open((directory + kFileName).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return 0;
    }
    pid_t pid = 0;
    if (flock(fd, LOCK_SH | LOCK_NB) != 0) {
        pid = readPid(fd);
    }
    close(fd);  // also ends the probe's own shared lock
    return pid;
}

}  // namespace orvan
