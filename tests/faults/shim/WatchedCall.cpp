#include "faults/shim/WatchedCall.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

// The system is asked by `syscall` here, past the functions that this library stands in front of.

namespace quillmor::test {

namespace {

enum class Mode { none, kill, killWithin, fail, shortWrite };

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

long numberIn(const char* name) {
  return std::strtol(variable(name).c_str(), nullptr, 10);
}

Mode modeOf(std::string_view name) {
  if (name == "kill") return Mode::kill;
  if (name == "killWithin") return Mode::killWithin;
  if (name == "fail") return Mode::fail;
  return name == "short" ? Mode::shortWrite : Mode::none;
}

/// Opens a file of the tests' own, with a number that the program will not meet.
int openLog(const std::string& path) {
  if (path.empty()) return -1;
  const long low = ::syscall(SYS_openat, AT_FDCWD, path.c_str(),
                             O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  constexpr int kFarAway = 900;
  const long far = ::syscall(SYS_fcntl, low, F_DUPFD_CLOEXEC, kFarAway);
  ::syscall(SYS_close, low);
  return static_cast<int>(far);
}

std::vector<std::string> partsOf(const std::string& list) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin < list.size();) {
    const std::size_t end = std::min(list.find(':', begin), list.size());
    if (end > begin) parts.push_back(list.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

/// What the environment asks for, read at the first call.
struct Settings {
  const std::vector<std::string> folders = partsOf(variable(FaultVariables::kFolders));
  const std::string armed = variable(FaultVariables::kArmed);
  const Mode mode = modeOf(variable(FaultVariables::kMode));
  const long call = numberIn(FaultVariables::kCall);
  const int error = static_cast<int>(numberIn(FaultVariables::kError));
  const bool isLasting = !variable(FaultVariables::kLasting).empty();
  const std::string name = variable(FaultVariables::kName);
  const std::string file = variable(FaultVariables::kFile);
  const std::string without = variable(FaultVariables::kWithout);
  const std::size_t most = static_cast<std::size_t>(numberIn(FaultVariables::kMost));
  const int calls = openLog(variable(FaultVariables::kCalls));
  const int effects = openLog(variable(FaultVariables::kEffects));

  bool isBelow(const std::string& path) const {
    for (const std::string& folder : folders) {
      if (path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/'))
        return true;
    }
    return false;
  }

  /// True for the calls that the fault is meant for.
  bool means(std::string_view callName, const std::string& path) const {
    return (name.empty() || name == callName) && (file.empty() || path.ends_with("/" + file));
  }

  bool isArmed() const {
    return armed.empty() || ::syscall(SYS_faccessat, AT_FDCWD, armed.c_str(), F_OK) == 0;
  }
};

/// Never destroyed: the program may still close files when its globals have gone.
const Settings& settings() {
  static const Settings* const settings = new Settings;
  return *settings;
}

std::recursive_mutex& orderMutex() {
  static auto* const mutex = new std::recursive_mutex;
  return *mutex;
}

long countedCalls = 0;

std::string linkTarget(const std::string& link) {
  std::array<char, PATH_MAX> target{};
  const long length =
      ::syscall(SYS_readlinkat, AT_FDCWD, link.c_str(), target.data(), target.size());
  return length > 0 ? std::string(target.data(), static_cast<std::size_t>(length)) : "";
}

std::string pathOf(int descriptor) {
  return descriptor == AT_FDCWD ? linkTarget("/proc/self/cwd")
                                : linkTarget("/proc/self/fd/" + std::to_string(descriptor));
}

WatchedFile watchedFile(long result, const struct stat& status) {
  if (result != 0) return {};
  return {true, S_ISDIR(status.st_mode), status.st_ino, status.st_size};
}

void killProgram() {
  ::syscall(SYS_kill, ::getpid(), SIGKILL);
}

void append(int log, std::vector<iovec> parts) {
  if (log >= 0) ::syscall(SYS_writev, log, parts.data(), parts.size());
}

iovec part(const void* data, std::size_t length) {
  return {const_cast<void*>(data), length};
}

void logEntry(EffectHeader header, const std::string& path, const std::string& otherPath,
              const void* data) {
  header.pathLength = static_cast<std::uint32_t>(path.size());
  header.otherPathLength = static_cast<std::uint32_t>(otherPath.size());
  append(settings().effects,
         {part(&header, sizeof header), part(path.data(), path.size()),
          part(otherPath.data(), otherPath.size()), part(data, header.dataLength)});
}

}  // namespace

WatchedCall::WatchedCall(const char* name, int descriptor, Changes changes) {
  const int before = errno;
  if (descriptor >= 0 && !settings().folders.empty()) path_ = pathOf(descriptor);
  begin(name, changes);
  errno = error_ != 0 ? error_ : before;
}

WatchedCall::WatchedCall(const char* name, int directory, const char* path, Changes changes) {
  const int before = errno;
  if (path != nullptr && !settings().folders.empty()) path_ = absolutePath(directory, path);
  begin(name, changes);
  errno = error_ != 0 ? error_ : before;
}

void WatchedCall::begin(const char* name, Changes changes) {
  const Settings& wanted = settings();
  if (path_.empty() || !wanted.isBelow(path_) || !wanted.isArmed()) return;
  order_ = std::unique_lock(orderMutex());
  counts_ = true;
  const long number = ++countedCalls;
  if (wanted.calls >= 0) {
    const std::string line = std::to_string(number) +
                             (changes == Changes::nothing ? "\t-\t" : "\t+\t") + name + "\t" +
                             path_ + "\n";
    append(wanted.calls, {part(line.data(), line.size())});
  }
  const bool isMeant = wanted.means(name, path_);
  const bool isNow = isMeant && (wanted.call == 0 || number == wanted.call);
  const bool isLater =
      isMeant && wanted.isLasting && number > wanted.call && changes == Changes::takesRoom;
  if (wanted.mode == Mode::kill && isNow) killProgram();
  if (wanted.mode == Mode::fail && (isNow || isLater)) error_ = wanted.error;
  isFatal_ = wanted.mode == Mode::killWithin && isNow;
  if (isFatal_ || (wanted.mode == Mode::shortWrite && isNow)) most_ = wanted.most;
}

WatchedCall::~WatchedCall() {
  if (isFatal_) killProgram();
}

std::size_t WatchedCall::shortened(std::size_t count) const {
  return std::min(count, most_);
}

bool WatchedCall::isLogged() const {
  return counts_ && settings().effects >= 0;
}

bool isRobbedOf(std::string_view what) {
  return settings().without == what;
}

bool isRecord(const std::string& path) {
  return path.find(".qrec") != std::string::npos;
}

std::string absolutePath(int directory, const char* path) {
  if (path[0] == '/') return path;
  const std::string base = pathOf(directory);
  return path[0] == '\0' ? base : base + "/" + path;
}

WatchedFile fileAt(const std::string& path) {
  struct stat status {};
  return watchedFile(
      ::syscall(SYS_newfstatat, AT_FDCWD, path.c_str(), &status, AT_SYMLINK_NOFOLLOW), status);
}

WatchedFile fileOf(int descriptor) {
  struct stat status {};
  return watchedFile(::syscall(SYS_newfstatat, descriptor, "", &status, AT_EMPTY_PATH), status);
}

std::int64_t positionOf(int descriptor) {
  if ((::syscall(SYS_fcntl, descriptor, F_GETFL) & O_APPEND) != 0) return fileOf(descriptor).size;
  return ::syscall(SYS_lseek, descriptor, 0, SEEK_CUR);
}

void logEffect(EffectKind kind, std::uint64_t inode, const std::string& path,
               const std::string& otherPath) {
  logEntry({.kind = kind, .inode = inode}, path, otherPath, nullptr);
}

void logSize(std::uint64_t inode, const std::string& path, std::int64_t size) {
  logEntry({.kind = EffectKind::setSize, .inode = inode, .offset = size}, path, {}, nullptr);
}

void logData(std::uint64_t inode, const std::string& path, std::int64_t offset, const void* data,
             std::size_t length) {
  logEntry({.kind = EffectKind::write, .inode = inode, .offset = offset, .dataLength = length},
           path, {}, data);
}

}  // namespace quillmor::test
