#define LOG_TAG "TuningFileSignature"

#include "storage/TuningFileSignature.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include <log/log.h>

namespace orvan {
namespace {

std::string timeText(const struct timespec& time) {
    char text[48];
    std::snprintf(text, sizeof(text), "%lld.%09ld", static_cast<long long>(time.tv_sec), time.tv_nsec);
    return text;
}

struct DigestFreer {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

struct OpenFile {
    const int fd;
    ~OpenFile() {
        if (fd >= 0) {
            close(fd);
        }
    }
};

}  // namespace

bool TuningFileSignature::read(const std::string& path) {
    mPath = path;
    mDigest.clear();
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        ALOGE("cannot open the tuning file %s: %s", path.c_str(), strerror(errno));
        return false;
    }
    struct stat info {};
    const int result = fstat(fd, &info);
    const int error = errno;
    close(fd);
    if (result != 0) {
        ALOGE("cannot read the facts of the tuning file %s: %s", path.c_str(), strerror(error));
        return false;
    }
    mSeconds = std::to_string(static_cast<long long>(info.st_mtim.tv_sec));
    mDetail = timeText(info.st_mtim) + " " + timeText(info.st_ctim) + " " +
              std::to_string(static_cast<long long>(info.st_size));
    ALOGD("%s(): XML file time string %s", "getSignature", mSeconds.c_str());
    return true;
}

const std::string& TuningFileSignature::getDigest() {
    if (!mDigest.empty()) {
        return mDigest;
    }
    const OpenFile file{open(mPath.c_str(), O_RDONLY | O_CLOEXEC)};
    if (file.fd < 0) {
        ALOGE("cannot read the tuning file %s: %s", mPath.c_str(), strerror(errno));
        return mDigest;
    }
    std::unique_ptr<EVP_MD_CTX, DigestFreer> context(EVP_MD_CTX_new());
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1) {
        ALOGE("cannot start a digest of %s", mPath.c_str());
        return mDigest;
    }
    std::vector<unsigned char> buffer(1 << 16);
    for (;;) {
        const ssize_t n = ::read(file.fd, buffer.data(), buffer.size());
        if (n == 0) {
            break;
        }
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            ALOGE("cannot read the tuning file %s: %s", mPath.c_str(), strerror(errno));
            return mDigest;
        }
        EVP_DigestUpdate(context.get(), buffer.data(), static_cast<size_t>(n));
    }
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(context.get(), digest, &length) != 1) {
        ALOGE("cannot finish the digest of %s", mPath.c_str());
        return mDigest;
    }
    static const char kHex[] = "0123456789abcdef";
    for (unsigned int i = 0; i < length; ++i) {
        mDigest += kHex[digest[i] >> 4];
        mDigest += kHex[digest[i] & 0xf];
    }
    return mDigest;
}

}  // namespace orvan
