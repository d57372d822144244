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

/// Interrupts what a signal that came a moment too early did not: the start of a write that waits
/// for a reader.
extern "C" void remind(int) {
  ::alarm(1);
}

extern "C" void stopWork(int signalNumber) {
  receivedSignal = signalNumber;
  stoppedBySignal.load()->requestStop();
  ::alarm(1);
}

/// Without SA_RESTART: a write that waits for a reader is to return.
void handle(int signalNumber, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  ::sigaction(signalNumber, &action, nullptr);
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
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    struct sigaction action {};
    ::sigaction(signalNumber, nullptr, &action);
    if (action.sa_handler != SIG_IGN) handle(signalNumber, stopWork);
  }
  handle(SIGALRM, remind);
}

void die() {
  dieOf(receivedSignal);
}

void dieOfClosedPipe() {
  dieOf(SIGPIPE);
}

}  // namespace quillmor::cli::Interruption
