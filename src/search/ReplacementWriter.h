#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/TaskProgress.h"
#include "search/Replacing.h"

namespace quillmor {

/// Tells where the bytes of a document lie in the output while parts of it are replaced, front to
/// back, and limits the growth. Throws code 2201 for offsets beyond 64 bits and for output more
/// than `maximumGrowth` bytes (negative counts as 0) longer than the document; then nothing has
/// changed.
class OutputExtent {
 public:
  OutputExtent(std::int64_t originalSize, std::int64_t maximumGrowth);

  /// The output offset of the original byte `originalOffset`, which lies after what was replaced.
  /// Also the length of the output when it ends there.
  std::int64_t outputOffset(std::int64_t originalOffset) const {
    return lengthened(originalOffset, shift_);
  }

  /// Counts `inserted` bytes in the place of `removed` ones from `originalOffset`. Returns the
  /// output offset after them.
  std::int64_t replace(std::int64_t originalOffset, std::int64_t removed, std::int64_t inserted) {
    const std::int64_t end = lengthened(outputOffset(originalOffset), inserted);
    shift_ = end - (originalOffset + removed);
    return end;
  }

 private:
  std::int64_t lengthened(std::int64_t output, std::int64_t count) const {
    std::int64_t sum = 0;
    if (__builtin_add_overflow(output, count, &sum)) failBeyondAddresses();
    if (sum > limit_) failBeyondGrowth();
    return sum;
  }
  [[noreturn]] static void failBeyondAddresses();
  [[noreturn]] void failBeyondGrowth() const;

  std::int64_t maximumGrowth_;
  std::int64_t limit_;
  std::int64_t shift_ = 0;
};

/// Carries bookmarks along with replacements, front to back: in one pass what
/// `adjustBookmarksForEdit` does for each of them.
class BookmarkCarrier {
 public:
  /// `offsets` are strictly increasing and lie within the document or at its end.
  explicit BookmarkCarrier(std::vector<std::int64_t> offsets);

  /// Follows `inserted` bytes in the place of `removed` ones (1 or more) from the original offset
  /// `offset`, which lies after what was replaced before.
  void replace(std::int64_t offset, std::int64_t removed, std::int64_t inserted);

  /// Returns the carried bookmarks and uses up the carrier.
  std::vector<std::int64_t> finish();

 private:
  void keepBefore(std::int64_t offset);

  std::vector<std::int64_t> offsets_;  // the first `kept_` carried, those from `next_` on as given
  std::size_t kept_ = 0;
  std::size_t next_ = 0;
  std::int64_t shift_ = 0;
};

/// Writes a document anew with parts of it replaced. Takes no memory before a part really changes,
/// and a result without changes shares the memory of the original.
///
/// The result is written once, into address space for `largestOutput` bytes. What stays unwritten
/// is given back. So the result is never moved, and its size need not be known beforehand.
class ReplacementWriter {
 public:
  /// No result is longer than `largestOutput` bytes. Growth is limited as by `OutputExtent`.
  /// `progress` outlives the writer. It advances by the size of `original` in all, and is asked
  /// every few milliseconds whether to stop: then throws `Error::stopped()`.
  ReplacementWriter(const ByteBuffer& original, std::vector<std::int64_t> bookmarks,
                    std::int64_t maximumGrowth, std::int64_t largestOutput, TaskProgress& progress);

  /// Puts `replacement` in the place of the `length` bytes (1 or more) from `offset`, which lie
  /// after those of the call before.
  void replace(std::int64_t offset, std::int64_t length, std::span<const std::uint8_t> replacement);

  /// Returns the whole result and uses up the writer.
  ReplaceAllComputation finish();

 private:
  bool isUnchanged(std::int64_t offset, std::int64_t length,
                   std::span<const std::uint8_t> replacement) const;
  void startOutput();
  void copyOriginalUpTo(std::int64_t end);
  void write(std::span<const std::uint8_t> bytes);
  void report();

  ByteBuffer original_;
  ByteBuffer result_;
  BookmarkCarrier bookmarks_;
  OutputExtent extent_;
  std::int64_t largestOutput_;
  TaskProgress& progress_;
  bool hasOutput_ = false;          // true once anything has changed
  std::uint8_t* output_ = nullptr;  // where the next byte goes
  std::int64_t copiedTo_ = 0;       // the original offset up to which the output is written
  std::int64_t reported_ = 0;       // the original offset reported to `progress_`
  std::int64_t unreportedWork_ = 0;
  std::int64_t replacements_ = 0;
  std::int64_t lastCaret_ = 0;
};

}  // namespace quillmor
