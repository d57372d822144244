// Calls that open, make, rename and remove files.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>

#include "faults/shim/WatchedCall.h"

using namespace quillmor::test;

namespace {

bool makesFiles(int flags) {
  return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

Changes changesOf(int flags) {
  if (makesFiles(flags)) return Changes::takesRoom;
  return (flags & O_TRUNC) != 0 ? Changes::something : Changes::nothing;
}

void logOpening(const WatchedFile& before, int descriptor, int flags, const std::string& path) {
  const WatchedFile now = fileOf(descriptor);
  if ((flags & O_TMPFILE) == O_TMPFILE) {
    logEffect(EffectKind::notUnderstood, now.inode, "O_TMPFILE");
  } else if (!before.exists) {
    logEffect(EffectKind::create, now.inode, path);
  } else if ((flags & O_TRUNC) != 0) {
    logSize(now.inode, path, 0);
  }
}

int openWatched(const char* name, int directory, const char* path, int flags, mode_t mode) {
  static auto* const real = nextFunction<int(int, const char*, int, mode_t)>("openat");
  const WatchedCall call(name, directory, path, changesOf(flags));
  if (call.fails()) return -1;
  const WatchedFile before = call.isLogged() ? fileAt(call.path()) : WatchedFile{};
  const int descriptor = real(directory, path, flags, mode);
  if (call.isLogged() && descriptor >= 0 && changesOf(flags) != Changes::nothing)
    logOpening(before, descriptor, flags, call.path());
  return descriptor;
}

mode_t modeArgument(int flags, va_list arguments) {
  return makesFiles(flags) ? va_arg(arguments, mode_t) : 0;
}

int renameWatched(const char* name, int fromDirectory, const char* from, int toDirectory,
                  const char* to, unsigned flags) {
  static auto* const real =
      nextFunction<int(int, const char*, int, const char*, unsigned)>("renameat2");
  const WatchedCall call(name, fromDirectory, from, Changes::takesRoom);
  if (call.fails()) return -1;
  const WatchedFile file = call.isLogged() ? fileAt(call.path()) : WatchedFile{};
  const int result = real(fromDirectory, from, toDirectory, to, flags);
  if (!call.isLogged() || result != 0) return result;
  if ((flags & ~unsigned{RENAME_NOREPLACE}) != 0) {
    logEffect(EffectKind::notUnderstood, file.inode, name);
  } else {
    logEffect(EffectKind::rename, file.inode, call.path(), absolutePath(toDirectory, to));
  }
  return result;
}

int linkWatched(const char* name, int fromDirectory, const char* from, int toDirectory,
                const char* to, int flags) {
  static auto* const real = nextFunction<int(int, const char*, int, const char*, int)>("linkat");
  const WatchedCall call(name, fromDirectory, from, Changes::takesRoom);
  if (call.fails()) return -1;
  const int result = real(fromDirectory, from, toDirectory, to, flags);
  if (call.isLogged() && result == 0) {
    const std::string newPath = absolutePath(toDirectory, to);
    logEffect(EffectKind::link, fileAt(newPath).inode, call.path(), newPath);
  }
  return result;
}

int unlinkWatched(const char* name, int directory, const char* path, int flags) {
  static auto* const real = nextFunction<int(int, const char*, int)>("unlinkat");
  const WatchedCall call(name, directory, path, Changes::something);
  if (call.fails()) return -1;
  const WatchedFile file = call.isLogged() ? fileAt(call.path()) : WatchedFile{};
  const int result = real(directory, path, flags);
  if (call.isLogged() && result == 0)
    logEffect(file.isFolder ? EffectKind::removeFolder : EffectKind::unlink, file.inode,
              call.path());
  return result;
}

int makeFolderWatched(const char* name, int directory, const char* path, mode_t mode) {
  static auto* const real = nextFunction<int(int, const char*, mode_t)>("mkdirat");
  const WatchedCall call(name, directory, path, Changes::takesRoom);
  if (call.fails()) return -1;
  const int result = real(directory, path, mode);
  if (call.isLogged() && result == 0)
    logEffect(EffectKind::makeFolder, fileAt(call.path()).inode, call.path());
  return result;
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeArgument(flags, arguments);
  va_end(arguments);
  return openWatched("open", AT_FDCWD, path, flags, mode);
}

int openat(int directory, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeArgument(flags, arguments);
  va_end(arguments);
  return openWatched("openat", directory, path, flags, mode);
}

int creat(const char* path, mode_t mode) {
  return openWatched("creat", AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

int open64(const char*, int, ...) __attribute__((alias("open")));
int openat64(int, const char*, int, ...) __attribute__((alias("openat")));
int creat64(const char*, mode_t) __attribute__((alias("creat")));

int rename(const char* from, const char* to) noexcept {
  return renameWatched("rename", AT_FDCWD, from, AT_FDCWD, to, 0);
}

int renameat(int fromDirectory, const char* from, int toDirectory, const char* to) noexcept {
  return renameWatched("renameat", fromDirectory, from, toDirectory, to, 0);
}

int renameat2(int fromDirectory, const char* from, int toDirectory, const char* to,
              unsigned flags) noexcept {
  return renameWatched("renameat2", fromDirectory, from, toDirectory, to, flags);
}

int link(const char* from, const char* to) noexcept {
  return linkWatched("link", AT_FDCWD, from, AT_FDCWD, to, 0);
}

int linkat(int fromDirectory, const char* from, int toDirectory, const char* to,
           int flags) noexcept {
  return linkWatched("linkat", fromDirectory, from, toDirectory, to, flags);
}

int unlink(const char* path) noexcept {
  return unlinkWatched("unlink", AT_FDCWD, path, 0);
}

int unlinkat(int directory, const char* path, int flags) noexcept {
  return unlinkWatched("unlinkat", directory, path, flags);
}

int rmdir(const char* path) noexcept {
  return unlinkWatched("rmdir", AT_FDCWD, path, AT_REMOVEDIR);
}

int mkdir(const char* path, mode_t mode) noexcept {
  return makeFolderWatched("mkdir", AT_FDCWD, path, mode);
}

int mkdirat(int directory, const char* path, mode_t mode) noexcept {
  return makeFolderWatched("mkdirat", directory, path, mode);
}
}
