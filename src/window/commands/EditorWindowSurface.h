#pragma once

#include <optional>
#include <string>

#include "base/FileLocation.h"
#include "search/SearchRequest.h"
#include "tools/analysis/ByteStatistics.h"

namespace quillmor {

/// The two panels of an editor through which the user searches.
enum class PanelKind { find, replace };

/// The window that an editor's controller drives: it shows and decides nothing. Main thread only.
class EditorWindowSurface {
 public:
  virtual ~EditorWindowSurface() = default;

  /// The window's title, the file it stands for, and whether it holds unsaved changes.
  virtual void setIdentity(const std::string& displayName,
                           const std::optional<FileLocation>& represented, bool isEdited) = 0;

  virtual void setStatusText(const std::string& text) = 0;
  virtual void setInspectorText(const std::string& text) = 0;

  /// A sentence in the status area about what was refused, not found or went wrong; each call
  /// announces it to assistive technology. An empty text takes it away.
  virtual void setNotice(const std::string& text) = 0;
  virtual void setToolbarEnabled(bool enabled) = 0;

  /// The progress bar beside the status text; `fraction` is negative while it is not known.
  virtual void showProgress(double fraction, bool canStop) = 0;
  virtual void hideProgress() = 0;

  /// A line above the status line about what another program has done to the document's file, with
  /// buttons; each call announces it to assistive technology.
  struct OutsideChangeChoices {
    bool canShow = false;    ///< there is a report of it
    bool canReload = false;  ///< there is a file
  };
  virtual void showOutsideChange(const std::string& text, OutsideChangeChoices choices) = 0;
  virtual void hideOutsideChange() = 0;

  /// The state of the menus may have changed.
  virtual void revalidateMenus() = 0;

  virtual void bringToFront() = 0;

  /// Closes the window without asking; calls its controller's `windowWillClose`.
  virtual void closeWindow() = 0;

  /// Stops accepting files by drag and drop.
  virtual void unregisterDrags() = 0;

  /// Opens a report window that lives until it is closed or `closeUtilityWindows` is called.
  virtual void openReportWindow(const std::string& title, const std::string& report) = 0;

  /// The same with a histogram of `counts` above the report.
  virtual void openFrequencyWindow(const std::string& title, const std::string& report,
                                   const ByteCounts& counts) = 0;

  /// The same with a curve of `map` above the report; a click in it shows that offset in the
  /// editor.
  virtual void openEntropyWindow(const std::string& title, const std::string& report,
                                 const EntropyMap& map) = 0;

  /// Opens the list of the document's history, or brings it to the front. It follows the history
  /// and is closed like a report.
  virtual void openHistoryWindow() = 0;
  virtual void closeUtilityWindows() = 0;

  /// Brings the panel of this kind to the front; the first time it is made and filled from
  /// `initialRequest`.
  virtual void showFindReplacePanel(PanelKind kind, const SearchRequest& initialRequest) = 0;
  virtual void closeFindReplacePanels() = 0;
};

}  // namespace quillmor
