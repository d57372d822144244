#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/ByteBuffer.h"
#include "window/commands/CommandFamily.h"
#include "window/commands/SelectionEditing.h"

namespace quillmor {

/// Filling the selection, and putting typed bytes or a file into the document.
class InsertCommands : private CommandFamily {
 public:
  explicit InsertCommands(CommandContext& context)
      : CommandFamily(context), selectionEditing_(context) {}
  static std::span<const CommandRow<InsertCommands>> rows();

 private:
  /// Bytes to be inserted.
  struct Insertion {
    std::int64_t offset = 0;
    ByteBuffer bytes;
    /// The whole document with them, where they are many.
    std::optional<ByteBuffer> document = {};
  };

  struct InsertedFileTexts {
    std::string title;
    std::string actionName;
    std::string statusText;
    std::string tooLarge;
    std::string empty;
  };

  void insertBytes();
  void insertFileAtOffset();
  void appendFileToEnd();
  void fillSelection();
  void fillSelectionWithZero();
  void fillSelectionWithFF();

  static Insertion prepareInsertion(const ByteBuffer& original, std::int64_t offset,
                                    ByteBuffer bytes, TaskProgress& progress);
  void insert(const Insertion& insertion, const std::string& actionName,
              const std::string& failureTitle);
  Refusal refusalOfInserting(std::int64_t count) const;

  void generateRepeatedBytes(std::vector<std::uint8_t> pattern, std::int64_t count,
                             const std::string& statusText,
                             std::function<void(Result<Insertion>)> completion);
  void generateAndInsert(std::vector<std::uint8_t> pattern, std::int64_t count,
                         const std::string& title, const std::string& statusText);

  void insertFill();
  void fillSelectionWithByte(std::uint8_t value, const std::string& title);
  void fillCurrentSelection(HexSelection range, std::vector<std::uint8_t> pattern,
                            const std::string& title, const std::string& statusText);

  void insertFile(const InsertedFileTexts& texts, const std::function<std::int64_t()>& place);
  void insertReadFile(const InsertedFileTexts& texts, const Result<Insertion>& read);

  SelectionEditing selectionEditing_;
};

}  // namespace quillmor
