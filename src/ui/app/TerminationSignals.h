#pragma once

#include <QObject>
#include <functional>

class QSessionManager;
class QSocketNotifier;

namespace quillmor {

/// The ways in which a process is told from outside to end: SIGTERM, SIGHUP and SIGINT, and the
/// desktop's session manager. Main thread only; at most one exists.
class TerminationSignals : public QObject {
 public:
  struct Handlers {
    /// A signal has come. Called in the event loop, never in a signal handler.
    std::function<void()> endNow;
    /// The session is to end and the user may be asked; the function it gets is called with
    /// whether it may end.
    std::function<void(std::function<void(bool)>)> review;
    /// The session ends and nobody may be asked.
    std::function<void()> keep;
  };

  /// From now on the signals do not end the process by themselves.
  explicit TerminationSignals(Handlers handlers);
  /// The signals have their usual effect again.
  ~TerminationSignals() override;

  /// The last signal that came; 0 for none.
  static int received();

 private:
  void readSignals();
  void commitData(QSessionManager& session);

  const Handlers handlers_;
  QSocketNotifier* notifier_ = nullptr;
};

/// Ends the process by this signal, as its parent expects of a process that was told to end.
[[noreturn]] void dieOf(int signal);

}  // namespace quillmor
