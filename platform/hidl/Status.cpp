#define LOG_TAG "HidlStatus"

#include <hidl/Status.h>

#include <cstring>
#include <utility>

#include <log/log.h>

namespace android {
namespace hardware {

namespace {

const char* exceptionName(int32_t exception) {
    switch (exception) {
        case Status::EX_NONE: return "EX_NONE";
        case Status::EX_ILLEGAL_ARGUMENT: return "EX_ILLEGAL_ARGUMENT";
        case Status::EX_NULL_POINTER: return "EX_NULL_POINTER";
        case Status::EX_ILLEGAL_STATE: return "EX_ILLEGAL_STATE";
        case Status::EX_UNSUPPORTED_OPERATION: return "EX_UNSUPPORTED_OPERATION";
        case Status::EX_TRANSACTION_FAILED: return "EX_TRANSACTION_FAILED";
        default: return "EX_UNKNOWN";
    }
}

}  // namespace

Status Status::fromExceptionCode(int32_t exceptionCode, const char* message) {
    Status status;
    status.mException = exceptionCode;
    // A failed transaction without a platform error still has to read as failed.
    status.mErrorCode = exceptionCode == EX_TRANSACTION_FAILED ? UNKNOWN_ERROR : OK;
    status.mMessage = message != nullptr ? message : "";
    return status;
}

Status Status::fromStatusT(status_t status) {
    Status result;
    if (status != OK) {
        result.mException = EX_TRANSACTION_FAILED;
        result.mErrorCode = status;
    }
    return result;
}

std::string Status::description() const {
    std::string text = std::string("Status(") + exceptionName(mException) + ")";
    if (mException == EX_TRANSACTION_FAILED) {
        text += ": error " + std::to_string(mErrorCode);
        // Platform errors are negated errno values, apart from a few outside that range.
        if (mErrorCode < 0 && mErrorCode > -4096) {
            text += std::string(" (") + strerror(-mErrorCode) + ")";
        }
    }
    if (!mMessage.empty()) {
        text += ": '" + mMessage + "'";
    }
    return text;
}

namespace details {

return_status::return_status(return_status&& other) noexcept
    : mStatus(std::move(other.mStatus)), mCheckedStatus(other.mCheckedStatus) {
    other.mCheckedStatus = true;
}

return_status& return_status::operator=(return_status&& other) noexcept {
    if (this != &other) {
        mStatus = std::move(other.mStatus);
        mCheckedStatus = other.mCheckedStatus;
        other.mCheckedStatus = true;
    }
    return *this;
}

return_status::~return_status() {
    if (!mCheckedStatus && !mStatus.isOk()) {
        ALOGE("Failed HIDL return status not checked: %s", mStatus.description().c_str());
    }
}

void return_status::checkValueAccess() const {
    if (!mStatus.isOk()) {
        mCheckedStatus = true;
        ALOGE("Value read from a failed HIDL call: %s", mStatus.description().c_str());
    }
}

}  // namespace details

}  // namespace hardware
}  // namespace android
