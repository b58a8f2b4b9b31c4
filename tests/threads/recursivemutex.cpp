// ThreadSanitizer sees what is instrumented, and QRecursiveMutex locks inside Qt's own library: it
// would take every access under one for a race. So these two stand before Qt's and tell it.

#ifdef __SANITIZE_THREAD__

#include <QRecursiveMutex>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

namespace {

template <typename Function>
Function inQt(const char* symbol)
{
    auto* address = dlsym(RTLD_NEXT, symbol);
    if (!address) {
        qFatal("Qt has no %s", symbol);
    }
    return reinterpret_cast<Function>(address);
}

} // namespace

bool QRecursiveMutex::tryLock(int timeout) QT_MUTEX_LOCK_NOEXCEPT
{
    using TryLock = bool (*)(QRecursiveMutex*, int);
    static const auto lockOfQt = inQt<TryLock>("_ZN15QRecursiveMutex7tryLockEi");
    const unsigned flags = __tsan_mutex_write_reentrant | __tsan_mutex_try_lock;
    __tsan_mutex_pre_lock(this, flags);
    const bool isLocked = lockOfQt(this, timeout);
    __tsan_mutex_post_lock(this, isLocked ? flags : flags | __tsan_mutex_try_lock_failed, 0);
    return isLocked;
}

void QRecursiveMutex::unlock() noexcept
{
    using Unlock = void (*)(QRecursiveMutex*);
    static const auto unlockOfQt = inQt<Unlock>("_ZN15QRecursiveMutex6unlockEv");
    __tsan_mutex_pre_unlock(this, 0);
    unlockOfQt(this);
    __tsan_mutex_post_unlock(this, 0);
}

#endif
