#include "recovery/JournalEntry.h"

#include <algorithm>

#include "recovery/Crc32c.h"
#include "recovery/LittleEndian.h"

namespace quillmor {

namespace {

// Where the fields stand.
constexpr std::size_t kNumberAt = 8;
constexpr std::size_t kSecondsAt = 16;
constexpr std::size_t kNanosecondsAt = 24;
constexpr std::size_t kNameByteCountAt = 28;
constexpr std::size_t kOffsetAt = 32;
constexpr std::size_t kRemovedCountAt = 40;
constexpr std::size_t kCaretAt = 48;
constexpr std::size_t kSelectionAt = 56;
constexpr std::size_t kNameAt = 72;
constexpr std::size_t kCheckByteCount = 4;
static_assert(kNameAt + kCheckByteCount == JournalEntry::kFixedByteCount);

constexpr std::int32_t kNanosecondsPerSecond = 1000000000;

std::string_view nameOf(const JournalEntry& entry) {
  return entry.actionName.substr(0, JournalEntry::kMaximumNameByteCount);
}

}  // namespace

std::size_t JournalEntry::byteCount() const {
  return kFixedByteCount + nameOf(*this).size() + inserted.size();
}

void JournalEntry::appendTo(std::vector<std::uint8_t>& bytes) const {
  const std::string_view name = nameOf(*this);
  const std::size_t start = bytes.size();
  bytes.resize(start + byteCount());
  const auto entry = std::span(bytes).subspan(start);
  putLittleEndian<std::uint64_t>(entry, 0, entry.size());
  putLittleEndian(entry, kSecondsAt, time.seconds);
  putLittleEndian(entry, kNanosecondsAt, time.nanoseconds);
  putLittleEndian(entry, kNameByteCountAt, static_cast<std::uint32_t>(name.size()));
  putLittleEndian(entry, kOffsetAt, offset);
  putLittleEndian(entry, kRemovedCountAt, removedCount);
  putLittleEndian(entry, kCaretAt, caretOffset);
  putLittleEndian(entry, kSelectionAt, selection.start);
  putLittleEndian(entry, kSelectionAt + 8, selection.length);
  std::ranges::copy(name, entry.begin() + kNameAt);
  std::ranges::copy(inserted, entry.begin() + static_cast<std::ptrdiff_t>(kNameAt + name.size()));
}

std::uint32_t journalHeaderCheck(std::span<const std::uint8_t> header) {
  return littleEndian<std::uint32_t>(header, RecordHeader::kByteCount - kCheckByteCount);
}

void JournalChain::seal(std::span<std::uint8_t> entries) {
  while (!entries.empty()) {
    const auto entry = entries.first(littleEndian<std::uint64_t>(entries, 0));
    const std::size_t checkAt = entry.size() - kCheckByteCount;
    putLittleEndian(entry, kNumberAt, ++count_);
    check_ = crc32c(entry.first(checkAt), check_);
    putLittleEndian(entry, checkAt, check_);
    entries = entries.subspan(entry.size());
  }
}

bool JournalChain::read(std::span<const std::uint8_t> bytes, JournalEntry& entry) {
  if (bytes.size() < JournalEntry::kFixedByteCount) return false;
  const auto byteCount = littleEndian<std::uint64_t>(bytes, 0);
  const auto nameByteCount = littleEndian<std::uint32_t>(bytes, kNameByteCountAt);
  const auto nanoseconds = littleEndian<std::int32_t>(bytes, kNanosecondsAt);
  const auto number = littleEndian<std::uint64_t>(bytes, kNumberAt);
  if (byteCount > bytes.size() || nameByteCount > JournalEntry::kMaximumNameByteCount ||
      byteCount < JournalEntry::kFixedByteCount + nameByteCount || number != count_ + 1 ||
      nanoseconds < 0 || nanoseconds >= kNanosecondsPerSecond) {
    return false;
  }
  bytes = bytes.first(byteCount);
  const auto checked = bytes.first(bytes.size() - kCheckByteCount);
  const std::uint32_t check = crc32c(checked, check_);
  if (littleEndian<std::uint32_t>(bytes, checked.size()) != check) return false;
  check_ = check;
  count_ = number;
  const auto name = checked.subspan(kNameAt, nameByteCount);
  entry = {.number = number,
           .time = {.seconds = littleEndian<std::int64_t>(bytes, kSecondsAt),
                    .nanoseconds = nanoseconds},
           .actionName = {reinterpret_cast<const char*>(name.data()), name.size()},
           .offset = littleEndian<std::int64_t>(bytes, kOffsetAt),
           .removedCount = littleEndian<std::int64_t>(bytes, kRemovedCountAt),
           .inserted = checked.subspan(kNameAt + nameByteCount),
           .caretOffset = littleEndian<std::int64_t>(bytes, kCaretAt),
           .selection = {.start = littleEndian<std::int64_t>(bytes, kSelectionAt),
                         .length = littleEndian<std::int64_t>(bytes, kSelectionAt + 8)}};
  return true;
}

}  // namespace quillmor
