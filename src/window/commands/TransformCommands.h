#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "tools/edits/ByteTransforms.h"
#include "window/commands/CommandFamily.h"
#include "window/commands/SelectionEditing.h"

namespace quillmor {

/// Rewriting the selected bytes in place, and cropping to them.
class TransformCommands : private CommandFamily {
 public:
  explicit TransformCommands(CommandContext& context)
      : CommandFamily(context), selectionEditing_(context) {}
  static std::span<const CommandRow<TransformCommands>> rows();

 private:
  void invertSelection();
  void reverseSelection();
  void swapSelection16();
  void swapSelection32();
  void xorSelection();
  void andSelection();
  void orSelection();
  void cropToSelection();

  void swapSelectionBytes(std::int64_t groupSize, const std::string& title);
  void applyPatternOperationToSelection(const std::string& title, const std::string& statusText,
                                        ByteOperation operation);
  void installCrop(HexSelection range, ByteBuffer kept);

  SelectionEditing selectionEditing_;
};

}  // namespace quillmor
