#include "faults/SmallDisk.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "blackbox/ChildProcess.h"

namespace quillmor::test {

namespace {

/// Makes mounts private to this process, once; returns the error's text.
std::string hideMounts() {
  static const std::string problem = [] {
    const bool isHidden = ::unshare(CLONE_NEWNS) == 0 &&
                          ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return isHidden ? std::string() : std::string("no mounts of its own: ") + std::strerror(errno);
  }();
  return problem;
}

/// Runs a command; returns what is wrong when it fails.
std::string problemOf(const std::vector<std::string>& command) {
  const char* const path = std::getenv("PATH");
  const std::string places = std::string(path != nullptr ? path : "/usr/bin:/bin") + ":/usr/sbin";
  ChildProcess process(command, {{"PATH", places}});
  if (process.waitForExit() == 0) return "";
  return command.front() + " failed: " + process.errors();
}

}  // namespace

SmallDisk::SmallDisk(Kind kind, std::int64_t byteCount) : problem_(hideMounts()) {
  std::filesystem::create_directory(path());
  const std::string size = std::to_string(byteCount);
  const std::string image = (folder_.path() / "image").native();
  if (!problem_.empty()) return;
  if (kind == Kind::tmpfs) {
    problem_ = problemOf({"mount", "-t", "tmpfs", "-o", "size=" + size, "none", path()});
  } else if (kind == Kind::quota) {
    problem_ = problemOf({"mount", "-t", "tmpfs", "-o", "size=64m,usrquota_block_hardlimit=" + size,
                          "none", path()});
  } else {
    problem_ = problemOf({"truncate", "-s", size, image});
    if (problem_.empty()) problem_ = problemOf({"mkfs.ext4", "-q", "-F", "-m", "0", image});
    if (problem_.empty()) problem_ = problemOf({"mount", "-o", "loop", image, path()});
  }
}

SmallDisk::~SmallDisk() {
  if (problem_.empty()) ::umount2(path().c_str(), MNT_DETACH);
}

void SmallDisk::makeRoom() const {
  std::filesystem::remove(path() + "/filler");
}

void SmallDisk::leaveRoom(std::int64_t byteCount) const {
  makeRoom();
  struct statvfs status {};
  if (::statvfs(path().c_str(), &status) != 0) throw std::runtime_error("no status of a disk");
  const auto free = static_cast<std::int64_t>(status.f_bavail * status.f_frsize);
  const int filler = ::open((path() + "/filler").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  // The blocks that tell where the filler lies take some of the room too.
  for (std::int64_t size = free - byteCount; size > 0; size -= 1024)
    if (::fallocate(filler, 0, 0, size) == 0) break;
  ::close(filler);
}

}  // namespace quillmor::test
