#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "document/HexSelection.h"
#include "recovery/RecordHeader.h"

namespace quillmor {

/// One edit as a journal keeps it.
///
/// On disk, little endian: the entry's length (8 bytes), its number (8), seconds (8) and
/// nanoseconds (4) of its time, the length of its name (4), offset, removed count, caret, start and
/// length of the selection (8 each), the name, the inserted bytes, and a CRC-32C of everything
/// before it in the journal but such checks. So an entry that is dropped, exchanged or taken from
/// another journal ends the chain.
struct JournalEntry {
  /// Entries are numbered from 1 without holes.
  std::uint64_t number = 0;
  RecordTime time;
  /// As the Edit menu names it; what is longer than `kMaximumNameByteCount` is cut off.
  std::string_view actionName;
  std::int64_t offset = 0;
  std::int64_t removedCount = 0;
  std::span<const std::uint8_t> inserted;
  /// After the edit, within the document as it is then.
  std::int64_t caretOffset = 0;
  HexSelection selection;

  static constexpr std::size_t kMaximumNameByteCount = 255;
  /// The bytes of an entry without name and inserted bytes.
  static constexpr std::size_t kFixedByteCount = 76;

  /// The bytes of the entry on disk.
  std::size_t byteCount() const;

  /// Appends the entry to `bytes` without number and check, which `JournalChain::seal` fills in.
  /// Throws std::bad_alloc and has changed nothing then.
  void appendTo(std::vector<std::uint8_t>& bytes) const;
};

/// The CRC that closes the header of a journal, from the first `RecordHeader::kByteCount` bytes of
/// its file. The chain of its entries begins with it.
std::uint32_t journalHeaderCheck(std::span<const std::uint8_t> header);

/// The chain of numbers and checks through the entries of one journal. One thread at a time.
class JournalChain {
 public:
  /// `headerCheck` is the `journalHeaderCheck`.
  explicit JournalChain(std::uint32_t headerCheck) : check_(headerCheck) {}

  /// Gives numbers and checks to `entries`, which `JournalEntry::appendTo` has put together.
  void seal(std::span<std::uint8_t> entries);

  /// Reads the next entry from the beginning of `bytes`, which are not trusted and outlive it.
  /// False when there is no whole entry that continues the chain; the chain is unchanged then.
  bool read(std::span<const std::uint8_t> bytes, JournalEntry& entry);

 private:
  std::uint32_t check_;
  std::uint64_t count_ = 0;
};

}  // namespace quillmor
