#include "blackbox/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace quillmor::test {

namespace {

constexpr std::chrono::seconds kPatience(40);
constexpr std::chrono::milliseconds kPollInterval(10);
constexpr int kCannotExecuteStatus = 127;

int makeCapture(const char* name) {
  const int file = ::memfd_create(name, MFD_CLOEXEC);
  if (file < 0) throw std::runtime_error("no memory file for the output of a program");
  return file;
}

std::string contentOf(int file) {
  std::string content;
  std::array<char, 4096> chunk{};
  off_t position = 0;
  for (;;) {
    const ssize_t count = ::pread(file, chunk.data(), chunk.size(), position);
    if (count <= 0) return content;
    content.append(chunk.data(), static_cast<std::size_t>(count));
    position += count;
  }
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// Waits for the end of a child without looking again and again, where the system can.
void awaitEnd(pid_t id) {
  const int handle = static_cast<int>(::syscall(SYS_pidfd_open, id, 0));
  if (handle < 0) return;
  pollfd ended{.fd = handle, .events = POLLIN, .revents = 0};
  ::poll(&ended, 1, static_cast<int>(std::chrono::milliseconds(kPatience).count()));
  ::close(handle);
}

}  // namespace

bool waitUntil(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(kPollInterval);
  }
  return true;
}

ChildProcess::ChildProcess(std::vector<std::string> command, const Environment& environment,
                           const std::string& workingDirectory)
    : outputFile_(makeCapture("output")), errorFile_(makeCapture("errors")) {
  std::vector<std::string> variables;
  for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);
  const auto arguments = pointersTo(command);
  const auto variablePointers = pointersTo(variables);
  const pid_t parent = ::getpid();
  id_ = ::fork();
  if (id_ < 0) throw std::runtime_error("no new process");
  if (id_ > 0) return;
  // Only calls that are safe after a fork from here on.
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  // What the tests themselves were started to ignore, as in the background of a shell.
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE})
    ::signal(signalNumber, SIG_DFL);
  if (::getppid() != parent) ::_exit(kCannotExecuteStatus);
  if (!workingDirectory.empty() && ::chdir(workingDirectory.c_str()) != 0)
    ::_exit(kCannotExecuteStatus);
  const int nothing = ::open("/dev/null", O_RDONLY);
  ::dup2(nothing, STDIN_FILENO);
  ::dup2(outputFile_, STDOUT_FILENO);
  ::dup2(errorFile_, STDERR_FILENO);
  ::execvpe(arguments.front(), arguments.data(), variablePointers.data());
  ::_exit(kCannotExecuteStatus);
}

ChildProcess::~ChildProcess() {
  // Asked first: one of the programs has a child of its own to take along.
  if (isRunning()) ::kill(id_, SIGTERM);
  if (!waitForExit()) {
    ::kill(id_, SIGKILL);
    ::waitpid(id_, nullptr, 0);
  }
  ::close(outputFile_);
  ::close(errorFile_);
}

std::optional<int> ChildProcess::exitStatus() {
  if (exitStatus_) return exitStatus_;
  int status = 0;
  rusage used{};
  if (::wait4(id_, &status, WNOHANG, &used) != id_) return std::nullopt;
  constexpr std::int64_t kUnit = 1024;
  peakMemory_ = used.ru_maxrss * kUnit;
  exitStatus_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  return exitStatus_;
}

std::optional<int> ChildProcess::waitForExit() {
  awaitEnd(id_);
  waitUntil([this] { return !isRunning(); });
  return exitStatus();
}

std::string ChildProcess::output() const {
  return contentOf(outputFile_);
}

std::string ChildProcess::errors() const {
  return contentOf(errorFile_);
}

}  // namespace quillmor::test
