#include "cli/Interruption.h"

#include <unistd.h>

#include <atomic>
#include <csignal>

namespace quillmor::cli::Interruption {

namespace {

std::atomic<TaskProgress*> stoppedBySignal{nullptr};
std::atomic<int> receivedSignal{0};
static_assert(std::atomic<TaskProgress*>::is_always_lock_free &&
              std::atomic<int>::is_always_lock_free);

extern "C" void stopWork(int signalNumber) {
  receivedSignal = signalNumber;
  stoppedBySignal.load()->requestStop();
}

/// Of the signals that are not ignored.
void replaceHandlers(void (*handler)(int)) {
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action {};
    ::sigaction(signalNumber, nullptr, &action);
    if (action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = handler;
    ::sigaction(signalNumber, &action, nullptr);
  }
}

[[noreturn]] void dieOf(int signalNumber) {
  std::signal(signalNumber, SIG_DFL);
  std::raise(signalNumber);
  // The signal is blocked: its name is all that is left to tell.
  constexpr int kSignalStatus = 128;
  ::_exit(kSignalStatus + signalNumber);
}

}  // namespace

void install(TaskProgress& progress) {
  stoppedBySignal = &progress;
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  // Without SA_RESTART: a write that waits for a reader is to return.
  replaceHandlers(stopWork);
}

void uninstall() {
  replaceHandlers(SIG_DFL);
}

void die() {
  dieOf(receivedSignal);
}

void dieOfClosedPipe() {
  dieOf(SIGPIPE);
}

}  // namespace quillmor::cli::Interruption
