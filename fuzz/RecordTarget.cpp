// Tries RecordHeader::decoded on any bytes: as they are, and as the beginning of a header whose
// check is right, because hardly any other input would get past it. Invariants:
//  - what fails, fails with code 2801 or 2802;
//  - a header that is read is written, and read again, as the same;
//  - it holds nothing that no header has: times, counts and paths are within their limits;
//  - a header with one byte less is refused, and so is one with another check.

#include <algorithm>
#include <array>
#include <optional>

#include "base/Check.h"
#include "base/Error.h"
#include "fuzz/FuzzTargets.h"
#include "recovery/Crc32c.h"
#include "recovery/LittleEndian.h"
#include "recovery/RecordHeader.h"

namespace quillmor::fuzz {

namespace {

constexpr auto kByteCount = static_cast<std::size_t>(RecordHeader::kByteCount);
constexpr std::size_t kCheckAt = kByteCount - 4;

std::optional<RecordHeader> headerOf(std::span<const std::uint8_t> bytes) {
  try {
    return RecordHeader::decoded(bytes);
  } catch (const Error& error) {
    checkPrecondition(isDamagedRecord(error) || isNewerRecord(error),
                      "A failure is one of the header's");
    return std::nullopt;
  }
}

void checkHeader(const RecordHeader& header) {
  checkPrecondition(header.payloadByteCount >= 0 && header.caretOffset >= 0 &&
                        header.selection.start >= 0 && header.selection.length >= 0,
                    "Nothing is negative");
  checkPrecondition(header.path.empty() || header.path.front() == '/', "A path is absolute");
  checkPrecondition(header.path.size() <= RecordHeader::kMaximumPathByteCount,
                    "A path is one that the system takes");
  checkPrecondition(header.bookmarkCount <= RecordHeader::kMaximumBookmarkCount,
                    "There are not too many bookmarks");
  checkPrecondition(header.baseID.empty() || isRecordID(header.baseID), "A base is a record");
  auto encoded = header.encoded();
  checkPrecondition(headerOf(encoded) == header, "What is written can be read");
  checkPrecondition(!headerOf(std::span(encoded).first(kByteCount - 1)), "It is read whole or not");
  encoded[kCheckAt] ^= 1;
  checkPrecondition(!headerOf(encoded), "A check that is wrong is seen");
}

}  // namespace

void fuzzRecord(std::span<const std::uint8_t> input) {
  if (const auto header = headerOf(input)) checkHeader(*header);
  std::array<std::uint8_t, kByteCount> bytes{};
  std::copy_n(input.begin(), std::min(input.size(), kCheckAt), bytes.begin());
  putLittleEndian(bytes, kCheckAt, crc32c(std::span(bytes).first(kCheckAt)));
  if (const auto header = headerOf(bytes)) checkHeader(*header);
}

}  // namespace quillmor::fuzz
