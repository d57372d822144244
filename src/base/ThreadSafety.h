#pragma once

#include <mutex>

// Lock annotations: clang checks them with -Wthread-safety, other compilers see nothing.
#if defined(__clang__)
#define QUILLMOR_THREAD_ANNOTATION(annotation) __attribute__((annotation))
#else
#define QUILLMOR_THREAD_ANNOTATION(annotation)
#endif

#define QUILLMOR_CAPABILITY(name) QUILLMOR_THREAD_ANNOTATION(capability(name))
#define QUILLMOR_SCOPED_CAPABILITY QUILLMOR_THREAD_ANNOTATION(scoped_lockable)
/// The member may only be touched while the named lock is held.
#define QUILLMOR_GUARDED_BY(lock) QUILLMOR_THREAD_ANNOTATION(guarded_by(lock))
/// The caller holds the named lock.
#define QUILLMOR_REQUIRES(...) QUILLMOR_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// The caller does not hold the named lock; the function takes it.
#define QUILLMOR_EXCLUDES(...) QUILLMOR_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define QUILLMOR_ACQUIRE(...) QUILLMOR_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define QUILLMOR_RELEASE(...) QUILLMOR_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

namespace quillmor {

/// A mutual-exclusion lock whose use the compiler can check. Not recursive.
class QUILLMOR_CAPABILITY("mutex") Mutex {
 public:
  void lock() QUILLMOR_ACQUIRE() { mutex_.lock(); }
  void unlock() QUILLMOR_RELEASE() { mutex_.unlock(); }

 private:
  std::mutex mutex_;
};

/// Holds a `Mutex` for the length of a scope.
class QUILLMOR_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) QUILLMOR_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~MutexLock() QUILLMOR_RELEASE() { mutex_.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};

}  // namespace quillmor
