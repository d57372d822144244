#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/FileLocation.h"
#include "base/Result.h"
#include "editor/EditSession.h"
#include "platform/PlatformServices.h"
#include "tools/edits/EditChecks.h"
#include "window/commands/EditorWindowSurface.h"
#include "window/commands/WindowAlerts.h"

namespace quillmor {

/// Sentences for the user of one editor window: notices in its status area, and alerts. Main thread
/// only.
class WindowMessages {
 public:
  /// `window` returns the window, or null when there is none. All arguments outlive this object.
  WindowMessages(const PlatformServices& platform, const EditSession& session,
                 std::function<EditorWindowSurface*()> window);

  // Notices. A notice stays until another one takes its place, the window's next command begins,
  // the caret or the selection moves, or bytes change.

  void showNotice(const std::string& text);
  void clearNotice();
  /// The caret and the selection are often set to what they are; only a move counts.
  void clearNoticeAfterMove();
  /// Beeps and shows `reason`, a sentence.
  void refuse(const std::string& reason);
  /// Shows the error's sentence with the system's reason, if it has one.
  void noteReason(const Error& error);
  /// Names the file that could not be opened, and the reason.
  void noteOpenFailure(const FileLocation& location, const Error& error);

  // Alerts.

  /// For forms: without a window nothing is shown, and every question counts as cancelled.
  AlertPresenter& alerts() { return windowAlerts_; }
  void alert(const std::string& title, const std::string& text);
  /// Shows the system's reason as a notice too.
  void alert(const std::string& title, const Error& error);
  /// True if there is a refusal; it is shown.
  bool alertRefusal(const Refusal& refusal, const std::string& title);
  /// Alerts the error, unless the user stopped the work or the window has gone.
  void showFailure(const Error& error, const std::string& title);
  /// True if the work of a command failed; the failure is shown. Also true without a window.
  template <class T>
  bool failed(const Result<T>& result, const std::string& title) {
    if (!result.isOk()) showFailure(result.error(), title);
    return !result.isOk() || window_() == nullptr;
  }
  /// Does `work`. True if it fails; the failure is shown.
  bool attempt(const std::string& failureTitle, const std::function<void()>& work);

 private:
  /// Where the editor stood when a notice was shown.
  struct NoticePlace {
    std::int64_t caretOffset = 0;
    HexSelection selection;
    bool highNibble = true;

    bool operator==(const NoticePlace&) const = default;
  };
  NoticePlace noticePlace() const;

  const PlatformServices& platform_;
  const EditSession& session_;
  const std::function<EditorWindowSurface*()> window_;
  WindowAlerts windowAlerts_;
  /// Present while a notice is shown.
  std::optional<NoticePlace> noticePlace_;
};

}  // namespace quillmor
