#include "recovery/RecordHeader.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string_view>

#include "fileaccess/UUID.h"
#include "recovery/Crc32c.h"
#include "recovery/LittleEndian.h"

namespace quillmor {

namespace {

constexpr int kDamagedCode = 3101;
constexpr int kNewerCode = 3102;
constexpr std::string_view kMagic = "QUILLREC";

// Where the fields stand.
constexpr std::size_t kVersionAt = 8;
constexpr std::size_t kKindAt = 12;
constexpr std::size_t kPayloadByteCountAt = 16;
constexpr std::size_t kDigestAt = 24;
constexpr std::size_t kHasFileAt = 56;
constexpr std::size_t kPathByteCountAt = 60;
constexpr std::size_t kFileAt = 64;
constexpr std::size_t kCreatedAt = 128;
constexpr std::size_t kNanosecondsAt = 136;
constexpr std::size_t kProcessAt = 140;
constexpr std::size_t kBootAt = 144;
constexpr std::size_t kCaretAt = 160;
constexpr std::size_t kSelectionAt = 168;
constexpr std::size_t kBookmarkCountAt = 184;
constexpr std::size_t kUntitledNumberAt = 188;
constexpr std::size_t kBaseAt = 192;
constexpr std::size_t kBaseByteCount = 64;
constexpr std::size_t kPathAt = kBaseAt + kBaseByteCount;
constexpr std::size_t kCrcAt = RecordHeader::kByteCount - 4;
// In what older versions have left as zeros.
constexpr std::size_t kWriterAt = kPathAt + RecordHeader::kMaximumPathByteCount;
static_assert(kWriterAt + sizeof(std::uint64_t) <= kCrcAt);

constexpr std::int32_t kNanosecondsPerSecond = 1000000000;

std::array<std::uint64_t, 8> fieldsOf(const StableFileStatus& status) {
  return {status.device,
          status.inode,
          status.mode,
          static_cast<std::uint64_t>(status.size),
          static_cast<std::uint64_t>(status.modificationSeconds),
          static_cast<std::uint64_t>(status.modificationNanoseconds),
          static_cast<std::uint64_t>(status.changeSeconds),
          static_cast<std::uint64_t>(status.changeNanoseconds)};
}

StableFileStatus statusOf(std::span<const std::uint8_t> bytes) {
  const auto field = [&](std::size_t index) {
    return littleEndian<std::int64_t>(bytes, kFileAt + index * 8);
  };
  return {.device = static_cast<std::uint64_t>(field(0)),
          .inode = static_cast<std::uint64_t>(field(1)),
          .mode = static_cast<std::uint32_t>(field(2)),
          .size = field(3),
          .modificationSeconds = field(4),
          .modificationNanoseconds = field(5),
          .changeSeconds = field(6),
          .changeNanoseconds = field(7)};
}

void putText(std::span<std::uint8_t> bytes, std::size_t at, std::string_view text) {
  std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

std::string textAt(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t length) {
  const auto field = bytes.subspan(at, length);
  return {field.begin(), field.end()};
}

bool isHexDigit(char character) {
  return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f');
}

/// Values that are read one by one and still cannot stand together.
bool isPossible(const RecordHeader& header) {
  const bool isJournal = header.kind == RecordKind::journal;
  const bool hasPlaces =
      header.caretOffset >= 0 && header.selection.start >= 0 && header.selection.length >= 0;
  const bool hasPath = header.path.empty() ||
                       (header.path.front() == '/' && header.path.find('\0') == std::string::npos);
  return header.payloadByteCount >= 0 && (!isJournal || header.payloadByteCount == 0) &&
         hasPlaces && hasPath && header.created.nanoseconds >= 0 &&
         header.created.nanoseconds < kNanosecondsPerSecond &&
         header.bookmarkCount <= RecordHeader::kMaximumBookmarkCount &&
         (!header.file || header.file->size >= 0) &&
         (header.baseID.empty() || (isJournal && isRecordID(header.baseID)));
}

}  // namespace

RecordTime RecordTime::now() {
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
  const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(sinceEpoch - seconds);
  return {.seconds = seconds.count(), .nanoseconds = static_cast<std::int32_t>(rest.count())};
}

bool isRecordID(std::string_view text) {
  constexpr std::size_t kHashLength = 16;
  return text.size() == RecordHeader::kIDLength && text[kHashLength] == '-' &&
         std::all_of(text.begin(), text.begin() + kHashLength, isHexDigit) &&
         isUUID(text.substr(kHashLength + 1));
}

void RecordHeader::setBaseDigest(const ContentDigest& digest) {
  for (std::size_t lane = 0; lane < digest.lanes.size(); ++lane)
    putLittleEndian(payloadDigest, lane * sizeof(std::uint64_t), digest.lanes[lane]);
}

std::optional<ContentDigest> RecordHeader::baseDigest() const {
  if (!file || payloadDigest == std::array<std::uint8_t, 32>{}) return std::nullopt;
  ContentDigest digest{.byteCount = file->size};
  for (std::size_t lane = 0; lane < digest.lanes.size(); ++lane)
    digest.lanes[lane] = littleEndian<std::uint64_t>(payloadDigest, lane * sizeof(std::uint64_t));
  return digest;
}

std::array<std::uint8_t, RecordHeader::kByteCount> RecordHeader::encoded() const {
  if (path.size() > kMaximumPathByteCount || baseID.size() > kBaseByteCount)
    throw Error::posix(ENAMETOOLONG);
  std::array<std::uint8_t, kByteCount> bytes{};
  putText(bytes, 0, kMagic);
  putLittleEndian(bytes, kVersionAt, kVersion);
  putLittleEndian(bytes, kKindAt, static_cast<std::uint32_t>(kind));
  putLittleEndian(bytes, kPayloadByteCountAt, payloadByteCount);
  std::copy(payloadDigest.begin(), payloadDigest.end(), bytes.begin() + kDigestAt);
  putLittleEndian<std::uint32_t>(bytes, kHasFileAt, file.has_value() ? 1 : 0);
  putLittleEndian(bytes, kPathByteCountAt, static_cast<std::uint32_t>(path.size()));
  if (file) {
    std::size_t at = kFileAt;
    for (const std::uint64_t field : fieldsOf(*file)) {
      putLittleEndian(bytes, at, field);
      at += sizeof field;
    }
  }
  putLittleEndian(bytes, kCreatedAt, created.seconds);
  putLittleEndian(bytes, kNanosecondsAt, created.nanoseconds);
  putLittleEndian(bytes, kProcessAt, processID);
  std::copy(bootID.begin(), bootID.end(), bytes.begin() + kBootAt);
  putLittleEndian(bytes, kCaretAt, caretOffset);
  putLittleEndian(bytes, kSelectionAt, selection.start);
  putLittleEndian(bytes, kSelectionAt + 8, selection.length);
  putLittleEndian(bytes, kBookmarkCountAt, bookmarkCount);
  putLittleEndian(bytes, kUntitledNumberAt, untitledNumber);
  putText(bytes, kBaseAt, baseID);
  putText(bytes, kPathAt, path);
  putLittleEndian(bytes, kWriterAt, writerNumber);
  putLittleEndian(bytes, kCrcAt, crc32c(std::span(bytes).first(kCrcAt)));
  return bytes;
}

RecordHeader RecordHeader::decoded(std::span<const std::uint8_t> bytes) {
  if (std::ssize(bytes) < kByteCount || textAt(bytes, 0, kMagic.size()) != kMagic)
    throw damagedRecordError();
  // A newer version may have another layout, so nothing more of it is looked at.
  if (littleEndian<std::uint32_t>(bytes, kVersionAt) > kVersion) throw newerRecordError();
  if (littleEndian<std::uint32_t>(bytes, kCrcAt) != crc32c(bytes.first(kCrcAt)))
    throw damagedRecordError();
  const auto version = littleEndian<std::uint32_t>(bytes, kVersionAt);
  const auto kind = littleEndian<std::uint32_t>(bytes, kKindAt);
  const auto hasFile = littleEndian<std::uint32_t>(bytes, kHasFileAt);
  const auto pathByteCount = littleEndian<std::uint32_t>(bytes, kPathByteCountAt);
  if (version != kVersion || kind < 1 || kind > 3 || hasFile > 1 ||
      pathByteCount > kMaximumPathByteCount) {
    throw damagedRecordError();
  }
  RecordHeader header;
  header.kind = static_cast<RecordKind>(kind);
  header.payloadByteCount = littleEndian<std::int64_t>(bytes, kPayloadByteCountAt);
  std::copy_n(bytes.begin() + kDigestAt, header.payloadDigest.size(), header.payloadDigest.begin());
  if (hasFile == 1) header.file = statusOf(bytes);
  header.created = {.seconds = littleEndian<std::int64_t>(bytes, kCreatedAt),
                    .nanoseconds = littleEndian<std::int32_t>(bytes, kNanosecondsAt)};
  header.processID = littleEndian<std::uint32_t>(bytes, kProcessAt);
  std::copy_n(bytes.begin() + kBootAt, header.bootID.size(), header.bootID.begin());
  header.caretOffset = littleEndian<std::int64_t>(bytes, kCaretAt);
  header.selection = {.start = littleEndian<std::int64_t>(bytes, kSelectionAt),
                      .length = littleEndian<std::int64_t>(bytes, kSelectionAt + 8)};
  header.bookmarkCount = littleEndian<std::uint32_t>(bytes, kBookmarkCountAt);
  header.untitledNumber = littleEndian<std::uint32_t>(bytes, kUntitledNumberAt);
  const std::string base = textAt(bytes, kBaseAt, kBaseByteCount);
  header.baseID = base.substr(0, base.find('\0'));
  header.path = textAt(bytes, kPathAt, pathByteCount);
  header.writerNumber = littleEndian<std::uint64_t>(bytes, kWriterAt);
  if (!isPossible(header)) throw damagedRecordError();
  return header;
}

Error damagedRecordError() {
  return Error::quillmor(kDamagedCode, "The recovery record is damaged.");
}

Error newerRecordError() {
  return Error::quillmor(kNewerCode,
                         "The recovery record was written by a newer version of Quillmor.");
}

bool isDamagedRecord(const Error& error) {
  return error.domain() == ErrorDomain::quillmor && error.code() == kDamagedCode;
}

bool isNewerRecord(const Error& error) {
  return error.domain() == ErrorDomain::quillmor && error.code() == kNewerCode;
}

}  // namespace quillmor
