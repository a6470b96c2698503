#pragma once
// Locks whose use clang proves: a member marked GUARDED_BY(lock) is only touched under that lock. With other
// compilers the marks are empty and these are plain mutexes.

#include <mutex>

#if defined(__clang__)
#define VELLORAY_ATTR(x) __attribute__((x))
#else
#define VELLORAY_ATTR(x)
#endif
#define CAPABILITY(x) VELLORAY_ATTR(capability(x))
#define SCOPED_CAPABILITY VELLORAY_ATTR(scoped_lockable)
#define GUARDED_BY(x) VELLORAY_ATTR(guarded_by(x))
#define REQUIRES(...) VELLORAY_ATTR(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) VELLORAY_ATTR(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) VELLORAY_ATTR(acquire_capability(__VA_ARGS__))
#define RELEASE(...) VELLORAY_ATTR(release_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) VELLORAY_ATTR(try_acquire_capability(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS VELLORAY_ATTR(no_thread_safety_analysis)

class CAPABILITY("mutex") Lock {
  public:
    void lock() ACQUIRE() { inner.lock(); }
    void unlock() RELEASE() { inner.unlock(); }
    bool try_lock() TRY_ACQUIRE(true) { return inner.try_lock(); }
    std::mutex& native() { return inner; } // for a condition variable

  private:
    std::mutex inner;
};

class SCOPED_CAPABILITY LockGuard {
  public:
    explicit LockGuard(Lock& l) ACQUIRE(l) : held(l) { held.lock(); }
    ~LockGuard() RELEASE() { held.unlock(); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

  private:
    Lock& held;
};
