#pragma once

#include <cstdint>
#include <string>

#include <utils/Errors.h>

namespace android {
namespace hardware {

// The transport outcome of a HIDL call: an exception code, and for a failed
// transaction the platform error behind it.
class Status final {
public:
    enum Exception : int32_t {
        EX_NONE = 0,
        EX_ILLEGAL_ARGUMENT = -3,
        EX_NULL_POINTER = -4,
        EX_ILLEGAL_STATE = -5,
        EX_UNSUPPORTED_OPERATION = -7,
        EX_TRANSACTION_FAILED = -129,
    };

    Status() = default;

    static Status ok() { return Status(); }
    static Status fromExceptionCode(int32_t exceptionCode, const char* message = nullptr);
    // OK gives an ok status; any other error a failed transaction.
    static Status fromStatusT(status_t status);

    int32_t exceptionCode() const { return mException; }
    status_t transactionError() const { return mErrorCode; }
    bool isOk() const { return mException == EX_NONE; }
    std::string description() const;

private:
    int32_t mException = EX_NONE;
    status_t mErrorCode = OK;
    std::string mMessage;
};

namespace details {

// The status part of a Return: move-only, like the call result it stands for.
class return_status {
public:
    return_status() = default;
    return_status(const Status& status) : mStatus(status) {}
    return_status(const return_status&) = delete;
    return_status& operator=(const return_status&) = delete;
    return_status(return_status&& other) noexcept;
    return_status& operator=(return_status&& other) noexcept;
    // A failure nobody asked about is logged: the device treats it as fatal.
    ~return_status();

    bool isOk() const {
        mCheckedStatus = true;
        return mStatus.isOk();
    }
    bool isOkUnchecked() const { return mStatus.isOk(); }
    bool isDeadObject() const {
        mCheckedStatus = true;
        return mStatus.transactionError() == DEAD_OBJECT;
    }
    std::string description() const {
        mCheckedStatus = true;
        return mStatus.description();
    }

protected:
    // Logs reading the value of a failed call, which the device treats as fatal.
    void checkValueAccess() const;

private:
    Status mStatus;
    mutable bool mCheckedStatus = false;
};

}  // namespace details

// The result of a HIDL call: its value when the transport succeeded.
template <typename T>
class Return : public details::return_status {
public:
    Return(T value) : details::return_status(), mVal{value} {}
    Return(const Status& status) : details::return_status(status), mVal{} {}
    Return(Return&& other) = default;
    Return& operator=(Return&& other) = default;

    T withDefault(T fallback) { return isOk() ? mVal : fallback; }
    // A failed call yields a value-initialised T (logged).
    operator T() const {
        checkValueAccess();
        return mVal;
    }

private:
    T mVal;
};

template <>
class Return<void> : public details::return_status {
public:
    Return() : details::return_status() {}
    Return(const Status& status) : details::return_status(status) {}
    Return(Return&& other) = default;
    Return& operator=(Return&& other) = default;
};

inline Return<void> Void() {
    return Return<void>();
}

}  // namespace hardware
}  // namespace android
