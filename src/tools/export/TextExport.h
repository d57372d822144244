#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "base/ByteUnits.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"

namespace quillmor {

/// Takes the pieces of a text in order; a piece is valid during the call only. An exception ends
/// the text and is passed on.
using TextSink = std::function<void(std::string_view piece)>;

/// Where an export goes, and what it must never land on: open documents and other inputs.
struct ExportTarget {
  FileLocation location;
  std::vector<FileLocation> protectedURLs;
};

/// Gathers text and hands it on in pieces of up to `kCapacity` bytes. Used by one thread at a time;
/// text that is not flushed is lost.
class BufferedText {
 public:
  static constexpr std::size_t kCapacity = kMiB;

  /// `sink` outlives the buffer.
  explicit BufferedText(const TextSink& sink);

  void append(std::string_view text);

  /// Returns room for `length` characters, at most `kCapacity`; `advance` takes the part that was
  /// used.
  char* room(std::size_t length) {
    if (kCapacity - size_ < length) flush();
    return buffer_.get() + size_;
  }
  void advance(const char* end) { size_ = static_cast<std::size_t>(end - buffer_.get()); }

  /// Hands on what has been gathered.
  void flush();

 private:
  const TextSink& sink_;
  std::unique_ptr<char[]> buffer_;
  std::size_t size_ = 0;
};

/// Writes a text file that appears complete or not at all. `produce` hands the text to the sink it
/// is given. A stop request counts until the file is about to be moved into place; a stopped export
/// leaves nothing. Throws what `AtomicTextFileWriter` throws.
void writeTextFile(const ExportTarget& target, TaskProgress& progress,
                   const std::function<void(const TextSink&)>& produce);

/// Writes bytes as they are, in pieces of 1 MiB. The total of `progress` becomes their number.
/// `beforeInstalling` is called when the file is complete but not yet in place; an exception is
/// passed on, and nothing is installed. Otherwise as `writeTextFile`.
void writeBytes(std::span<const std::uint8_t> bytes, const ExportTarget& target,
                TaskProgress& progress, const std::function<void()>& beforeInstalling = {});

}  // namespace quillmor
