#include "support/FileAccessTest.h"

#include <grp.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <system_error>
#include <thread>

#include "base/Error.h"
#include "fileaccess/URLReservations.h"

namespace quillmor::test {

namespace {

constexpr uid_t kNobody = 65534;

void restrictThisProcess(std::int64_t maximumFileSize) {
  // Without this the kernel would end the process instead of failing the write with EFBIG.
  ::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit = {.rlim_cur = static_cast<rlim_t>(maximumFileSize),
                        .rlim_max = static_cast<rlim_t>(maximumFileSize)};
  bool isRestricted = ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
  if (::geteuid() == 0) {
    isRestricted = isRestricted && ::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 &&
                   ::setuid(kNobody) == 0;
  }
  if (!isRestricted) ::_exit(1);
}

std::string readToEnd(int descriptor) {
  std::string text;
  std::array<char, 4096> chunk{};
  for (ssize_t count = 0; (count = ::read(descriptor, chunk.data(), chunk.size())) > 0;)
    text.append(chunk.data(), static_cast<std::size_t>(count));
  return text;
}

}  // namespace

std::string patternedText(std::size_t size) {
  std::string text(size, '\0');
  std::uint32_t state = 2463534242;
  for (char& c : text) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    c = static_cast<char>(state & 0xFF);
  }
  return text;
}

std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string textOf(std::span<const std::uint8_t> bytes) {
  return {bytes.begin(), bytes.end()};
}

bool isUnreserved(const FileLocation& location) {
  SystemCalls realCalls;
  const ScopedSystemCalls scope(realCalls);
  try {
    SecureFileAccess::reserveOutputURL(location);
    return true;
  } catch (const Error&) {
    return false;
  }
}

std::string inRestrictedProcess(std::int64_t maximumFileSize,
                                const std::function<std::string()>& body) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) return "no pipe";
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(ends[0]);
    restrictThisProcess(maximumFileSize);
    const std::string text = body();
    const bool isWritten =
        ::write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::_exit(isWritten ? 0 : 1);
  }
  ::close(ends[1]);
  std::string text = readToEnd(ends[0]);
  ::close(ends[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  return text;
}

bool forbidThreads() {
  const rlimit none = {.rlim_cur = 0, .rlim_max = 0};
  if (::setrlimit(RLIMIT_NPROC, &none) != 0) return false;
  try {
    std::thread([] {}).join();
    return false;
  } catch (const std::system_error&) {
    return true;
  }
}

std::string errorText(const std::function<void()>& body) {
  try {
    body();
  } catch (const Error& error) {
    return std::to_string(error.code()) + " " + error.message();
  }
  return "no error";
}

}  // namespace quillmor::test
