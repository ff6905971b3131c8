// libutils comes uninstrumented, so the thread sanitizer cannot see the
// ordering that RefBase's atomic reference count gives: an object freed by the
// thread dropping the last sp<> looks like a race with every earlier user on
// other threads. Only reports through that path are suppressed.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer) && !defined(__SANITIZE_THREAD__)
#define __SANITIZE_THREAD__ 1
#endif
#endif

#if defined(__SANITIZE_THREAD__)
extern "C" const char* __tsan_default_suppressions() {
    return "race:android::RefBase::decStrong\n";
}
#endif
