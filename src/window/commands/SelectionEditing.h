#pragma once

#include <functional>
#include <span>
#include <string>

#include "window/commands/CommandContext.h"
#include "window/commands/SelectionMutation.h"

namespace quillmor {

/// Rewriting selected bytes in place. Main thread only; the context outlives this object.
class SelectionEditing {
 public:
  using MutationWork = std::function<ByteBuffer(std::span<const std::uint8_t>, TaskProgress&)>;
  using MutationCompletion = std::function<void(Result<SelectionMutation>)>;

  /// A transform of the selection as the user sees it.
  struct Transform {
    std::string title;  ///< of its alerts, and the name of the undo step
    std::string statusText;
    HexSelection range;
    MutationWork work;
    /// The title of the alert that the range has changed; `title` when empty.
    std::string misfitTitle = {};
  };

  explicit SelectionEditing(CommandContext& context) : context_(context) {}

  /// Runs and applies a transform. `done` is called once the bytes have changed.
  void run(Transform transform, std::function<void()> done = {});

  /// Transforms the selected bytes: at once when they are fewer than
  /// `backgroundEditThresholdBytes`, in the background otherwise.
  void runBackgroundSelectionMutationTask(const std::string& statusText, HexSelection selection,
                                          MutationWork work, MutationCompletion completion);

  /// Puts transformed bytes into the document as one undoable step; false when nothing was changed.
  bool applyCompletedSelectionMutation(const Result<SelectionMutation>& result,
                                       HexSelection originalSelection,
                                       const std::string& actionName,
                                       const std::string& misfitTitle);

 private:
  void write(const SelectionMutation& mutation, HexSelection range, const std::string& actionName);

  CommandContext& context_;
};

}  // namespace quillmor
