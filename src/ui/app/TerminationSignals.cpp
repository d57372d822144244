#include "ui/app/TerminationSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <QEventLoop>
#include <QGuiApplication>
#include <QSessionManager>
#include <QSocketNotifier>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>

namespace quillmor {

namespace {

constexpr std::array kSignals = {SIGTERM, SIGHUP, SIGINT};

// A signal handler may use nothing but these.
std::atomic<int> pipeToEventLoop{-1};
std::atomic<int> lastSignal{0};
static_assert(std::atomic<int>::is_always_lock_free);

/// Wakes the event loop; everything else happens there.
void wakeEventLoop(int signal) {
  const int errorNumber = errno;
  lastSignal.store(signal);
  const char byte = 0;
  // A full pipe wakes the loop as well.
  [[maybe_unused]] const ssize_t written = ::write(pipeToEventLoop.load(), &byte, 1);
  errno = errorNumber;
}

}  // namespace

TerminationSignals::TerminationSignals(Handlers handlers) : handlers_(std::move(handlers)) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
  notifier_ = new QSocketNotifier(ends[0], QSocketNotifier::Read, this);
  connect(notifier_, &QSocketNotifier::activated, this, &TerminationSignals::readSignals);
  pipeToEventLoop.store(ends[1]);
  struct sigaction action {};
  action.sa_handler = wakeEventLoop;
  action.sa_flags = SA_RESTART;
  for (const int signal : kSignals) {
    struct sigaction before {};
    // Who started the program with a signal ignored, as nohup does, wants it so.
    if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
      ::sigaction(signal, &action, nullptr);
  }
  // The question must have its answer when the signal returns.
  connect(qApp, &QGuiApplication::commitDataRequest, this, &TerminationSignals::commitData,
          Qt::DirectConnection);
}

TerminationSignals::~TerminationSignals() {
  if (notifier_ == nullptr) return;
  for (const int signal : kSignals) {
    struct sigaction now {};
    if (::sigaction(signal, nullptr, &now) == 0 && now.sa_handler == wakeEventLoop)
      std::signal(signal, SIG_DFL);
  }
  ::close(pipeToEventLoop.exchange(-1));
  ::close(static_cast<int>(notifier_->socket()));
}

int TerminationSignals::received() {
  return lastSignal.load();
}

void TerminationSignals::readSignals() {
  std::array<char, 64> bytes{};
  while (::read(static_cast<int>(notifier_->socket()), bytes.data(), bytes.size()) > 0) {
  }
  handlers_.endNow();
}

void TerminationSignals::commitData(QSessionManager& session) {
  if (!session.allowsInteraction()) return handlers_.keep();
  // The answer may come when nobody waits for it any more.
  struct Answer {
    QEventLoop* loop = nullptr;
    std::optional<bool> mayEnd = {};
  };
  const auto shared = std::make_shared<Answer>();
  handlers_.review([shared](bool mayEnd) {
    shared->mayEnd = mayEnd;
    if (shared->loop != nullptr) shared->loop->quit();
  });
  if (!shared->mayEnd) {
    QEventLoop loop;
    shared->loop = &loop;
    loop.exec();
    shared->loop = nullptr;
  }
  shared->mayEnd.value_or(false) ? session.release() : session.cancel();
}

void dieOf(int signal) {
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  std::_Exit(128 + signal);
}

}  // namespace quillmor
