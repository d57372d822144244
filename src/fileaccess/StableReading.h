#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/ByteUnits.h"
#include "base/Error.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "fileaccess/FileDescriptor.h"
#include "fileaccess/StableFileStatus.h"
#include "fileaccess/UrlReservations.h"

// Reading a file so that the result is the file as it was at one moment, or an error: never a
// mixture of two states, never more bytes than allowed, never anything but a regular file.
//
// All functions are safe from any thread. Where a `TaskProgress` is given, its total becomes the
// file's size, it is advanced chunk by chunk, and a stop request ends the read with
// `Error::stopped()` before the next chunk.

namespace quillmor {

/// A whole file, and the state of it that was read.
struct ReadSnapshot {
  ByteBuffer bytes;
  /// Seconds since 1970.
  std::optional<double> modificationDate;
  StableFileStatus status;
};

namespace SecureFileAccess {

/// The largest number of bytes asked of the system at once.
inline constexpr std::int64_t kReadChunkByteCount = kMiB;

/// Where the read loop puts the bytes. The calls come in the order written here, the last two
/// alternating.
class StableContents {
 public:
  StableContents() = default;
  virtual ~StableContents() = default;
  StableContents(const StableContents&) = delete;
  StableContents& operator=(const StableContents&) = delete;

  /// Makes the empty result for a file of `byteCount` bytes (0 or more).
  virtual void makeContents(std::int64_t byteCount) = 0;

  /// Room for the next 1...`maximumByteCount` bytes; at most `kReadChunkByteCount` are asked for.
  virtual std::span<std::uint8_t> roomForChunk(std::int64_t maximumByteCount) = 0;

  /// Takes the bytes read into the room last given.
  virtual void append(std::span<const std::uint8_t> chunk) = 0;
};

/// Reads a whole file through `contents` and returns the status it had from beginning to end.
/// `maximumByteCount` absent means no limit. Codes 1203, 1204 and 1205, or a POSIX error. Takes no
/// reservation and checks nothing of the location before opening it.
StableFileStatus stableContents(const FileLocation& location,
                                std::optional<std::int64_t> maximumByteCount,
                                StableContents& contents, TaskProgress* progress = nullptr);

/// Whether a read failed because the file is larger than it was allowed to be (code 1205).
bool isExceededLimit(const Error& error);

/// `stableContents` into one array, read directly into its final place. For callers that hold the
/// reservation and have called `validateReadableFileURL`.
ReadSnapshot stableBytes(const FileLocation& location, std::optional<std::int64_t> maximumByteCount,
                         TaskProgress* progress = nullptr);

/// Checks a location before it is opened: code 1200 (not a local file), 1201 (a directory), 1203
/// (not a regular file), 1202 (not readable), or the POSIX error of its status.
void validateReadableFileURL(const FileLocation& url);

struct StableReadHandle {
  FileDescriptor handle;
  /// Taken from the open descriptor.
  StableFileStatus status;
};

/// Opens a regular file for reading without ever waiting for a FIFO or a device. Code 1203 or a
/// POSIX error.
StableReadHandle openStableReadHandle(const FileLocation& location);

/// Reserves the location for reading, validates it and reads the whole file. Fails as
/// `reserveReadURL`, `validateReadableFileURL` and `stableContents` do, in this order.
ReadSnapshot readSnapshot(const FileLocation& location,
                          std::optional<std::int64_t> maximumByteCount,
                          TaskProgress* progress = nullptr);

/// The bytes of `readSnapshot`.
ByteBuffer readData(const FileLocation& location, std::optional<std::int64_t> maximumByteCount,
                    TaskProgress* progress = nullptr);

/// What a read that keeps nothing carries from chunk to chunk.
template <typename State>
struct StableProcessingState {
  State value;
  /// Bytes handed out so far.
  std::int64_t processedByteCount = 0;
};

/// Hands every chunk to a caller's function and keeps only the caller's state.
template <typename State, typename MakeState, typename ProcessChunk>
class ChunkProcessor final : public StableContents {
 public:
  ChunkProcessor(MakeState& makeState, ProcessChunk& processChunk)
      : makeState_(makeState), processChunk_(processChunk) {}

  void makeContents(std::int64_t byteCount) override {
    state_.emplace(StableProcessingState<State>{std::invoke(makeState_, byteCount)});
  }

  std::span<std::uint8_t> roomForChunk(std::int64_t maximumByteCount) override {
    const auto count = static_cast<std::size_t>(maximumByteCount);
    if (chunk_.size() < count) chunk_.resize(count);
    return {chunk_.data(), count};
  }

  void append(std::span<const std::uint8_t> chunk) override {
    std::invoke(processChunk_, state_->value, chunk);
    state_->processedByteCount += std::ssize(chunk);
  }

  StableProcessingState<State> takeState() { return *std::move(state_); }

 private:
  MakeState& makeState_;
  ProcessChunk& processChunk_;
  std::optional<StableProcessingState<State>> state_;
  std::vector<std::uint8_t> chunk_;
};

/// Reads a file as `readSnapshot` does, but hands it on in chunks of at most 1 MiB instead of
/// keeping it: `makeState(byteCount)` makes the caller's state, `processChunk(state, chunk)` takes
/// every chunk in order (the span is valid during the call only). The final state is returned only
/// when the read was stable; until then nothing learnt from the chunks may be acted upon. What the
/// two functions throw ends the read and is passed on.
template <typename MakeState, typename ProcessChunk>
auto processStableFile(const FileLocation& location, std::optional<std::int64_t> maximumByteCount,
                       MakeState makeState, ProcessChunk processChunk,
                       TaskProgress* progress = nullptr) {
  using State = std::decay_t<std::invoke_result_t<MakeState&, std::int64_t>>;
  const auto reservation = reserveReadURL(location);
  validateReadableFileURL(location);
  ChunkProcessor<State, MakeState, ProcessChunk> processor(makeState, processChunk);
  stableContents(location, maximumByteCount, processor, progress);
  return processor.takeState();
}

}  // namespace SecureFileAccess

}  // namespace quillmor
