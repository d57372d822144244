#pragma once

#include <functional>
#include <optional>
#include <string>

#include "tools/export/TextExport.h"
#include "window/commands/CommandContext.h"

namespace quillmor {

/// Writing what is made of a document to other files. Main thread only; the context outlives this
/// object.
class Exporter {
 public:
  struct Texts {
    std::string title;  ///< of the file panel and the alert of success
    std::string suggestedName;
    std::string statusText;
    std::string failureTitle;
    std::string savedPrefix = "Saved: ";
  };
  /// Writes the target from the document's bytes, off the main thread.
  using Work = std::function<void(const ByteBuffer&, const ExportTarget&, TaskProgress&)>;

  explicit Exporter(CommandContext& context) : context_(context) {}

  /// Asks where to, and writes there in the background. `input` is a file that the work reads: it
  /// is refused as the destination, as are the files of all open documents.
  void exportTo(const Texts& texts, Work work, const std::optional<FileLocation>& input = {});

  /// The selection, or the byte at the caret; absent, after an alert, when there is neither.
  std::optional<HexSelection> rangeForExportOrAlert(const std::string& title);

 private:
  CommandContext& context_;
};

}  // namespace quillmor
