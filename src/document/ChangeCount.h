#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace quillmor {

/// Tells whether a document differs from what was last saved. Follows the states that edits, undo
/// and redo lead through. Undoing back to the saved state makes the document unedited again. An
/// edit after undoing past the saved state abandons that state, and only another save makes the
/// document unedited. Main thread only.
class ChangeCount {
 public:
  ChangeCount() { segments_.reserve(kMaxSegments + 1); }

  enum class Change { done, undone, redone, cleared };

  /// Names one state of the document. No two states of one document have equal tokens.
  struct Token {
    std::int64_t branch = -1;
    std::int64_t position = 0;
    bool operator==(const Token&) const = default;
  };

  /// `cleared` makes the current state the saved one. Takes no memory.
  void update(Change change);

  bool isEdited() const { return saved_ != token(); }

  /// The current state. Taken when a save begins and handed back when it has ended.
  Token token() const;

  /// The state that `token` stands for has been saved; the document may have moved on since.
  void didSave(Token token) { saved_ = token; }

  /// Notes a change that undo does not know: from now on neither undo nor redo leads to the saved
  /// state, nor to the state of a save under way.
  void makeSavedStateUnreachable();

 private:
  /// States from `firstPosition` up to the next segment belong to `branch`.
  struct Segment {
    std::int64_t firstPosition;
    std::int64_t branch;
  };
  /// Undoing more branching points than this no longer finds the saved state.
  static constexpr std::size_t kMaxSegments = 1024;
  static constexpr std::int64_t kLowestPosition = INT64_MIN;

  void startBranchAt(std::int64_t position);

  std::int64_t position_ = 0;
  /// The farthest position on the current line of history; positions after the current one can be
  /// redone.
  std::int64_t farthest_ = 0;
  std::int64_t lastBranch_ = 0;
  std::vector<Segment> segments_{{kLowestPosition, 0}};
  std::optional<Token> saved_ = Token{0, 0};
};

}  // namespace quillmor
