#pragma once

#include <dlfcn.h>
#include <sys/types.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "faults/shim/EffectFormat.h"

namespace quillmor::test {

/// The function of that name that the program would call without this library.
template <class Function>
Function* nextFunction(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

/// What a call does to a disk.
enum class Changes : std::uint8_t {
  nothing,
  something,
  /// Something that a full disk refuses.
  takesRoom,
};

/// One system call of the program. It counts when it touches a file below the watched folders; what
/// the environment asks for happens then. Calls that count are made one after another, whatever
/// thread they come from, so that the log of effects has their order.
class WatchedCall {
 public:
  /// A call on an open file.
  WatchedCall(const char* name, int descriptor, Changes changes);
  /// A call on a path, relative to an open directory or AT_FDCWD.
  WatchedCall(const char* name, int directory, const char* path, Changes changes);
  /// The end of the call, and of the program where that is wanted.
  ~WatchedCall();
  WatchedCall(const WatchedCall&) = delete;
  WatchedCall& operator=(const WatchedCall&) = delete;

  bool counts() const { return counts_; }
  /// True when the call must not be made: it returns -1 with `errno`, which is set.
  bool fails() const { return error_ != 0; }
  int error() const { return error_; }
  /// The number of bytes to be written instead of `count`.
  std::size_t shortened(std::size_t count) const;
  /// Absolute.
  const std::string& path() const { return path_; }
  bool isLogged() const;

 private:
  void begin(const char* name, Changes changes);

  std::unique_lock<std::recursive_mutex> order_;
  std::string path_;
  bool counts_ = false;
  bool isFatal_ = false;
  int error_ = 0;
  std::size_t most_ = SIZE_MAX;
};

/// True if the program is to be robbed of this: "flush" keeps files from being flushed, "record"
/// keeps the bytes out of recovery records, "comparison" hides the times of files, and "lock" lets
/// everybody have a lock.
bool isRobbedOf(std::string_view what);
/// True for a file of the recovery records.
bool isRecord(const std::string& path);

/// A file as the log knows it.
struct WatchedFile {
  bool exists = false;
  bool isFolder = false;
  std::uint64_t inode = 0;
  std::int64_t size = 0;
};
WatchedFile fileAt(const std::string& path);
WatchedFile fileOf(int descriptor);
std::string absolutePath(int directory, const char* path);
/// The descriptor's position, and the end of the file where it appends.
std::int64_t positionOf(int descriptor);

/// Appends to the log of effects.
void logEffect(EffectKind kind, std::uint64_t inode, const std::string& path,
               const std::string& otherPath = {});
void logSize(std::uint64_t inode, const std::string& path, std::int64_t size);
void logData(std::uint64_t inode, const std::string& path, std::int64_t offset, const void* data,
             std::size_t length);

}  // namespace quillmor::test
