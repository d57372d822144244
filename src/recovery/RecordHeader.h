#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/ContentDigest.h"
#include "base/Error.h"
#include "document/HexSelection.h"
#include "fileaccess/StableFileStatus.h"

namespace quillmor {

/// What a record of the recovery directory holds.
enum class RecordKind : std::uint32_t {
  /// The bytes of a save under way.
  save = 1,
  /// A document with unsaved changes, whole.
  unsavedChanges = 2,
  /// The edits of such a document since a base, one entry after another.
  journal = 3,
};

/// A moment as the system's clock gives it, since 1970.
struct RecordTime {
  std::int64_t seconds = 0;
  std::int32_t nanoseconds = 0;

  bool operator==(const RecordTime&) const = default;
  static RecordTime now();
};

/// The first bytes of every record: what it holds, and of which file.
///
/// On disk: `kByteCount` bytes, little endian, closed by their CRC-32C. Payload and bookmarks
/// follow, or the entries of a journal.
struct RecordHeader {
  static constexpr std::int64_t kByteCount = 8192;
  static constexpr std::uint32_t kVersion = 1;
  /// The longest path a record can have, as the system's own limit (PATH_MAX).
  static constexpr std::size_t kMaximumPathByteCount = 4096;
  /// Bookmarks beyond these are left out of a record.
  static constexpr std::uint32_t kMaximumBookmarkCount = 1048576;
  /// The length of a record's ID: 16 hexadecimal digits, "-", a UUID.
  static constexpr std::size_t kIDLength = 16 + 1 + 36;

  RecordKind kind = RecordKind::save;
  /// Bytes of the payload; 0 for a journal.
  std::int64_t payloadByteCount = 0;
  /// SHA-256 of the payload; for a journal the lanes of the digest of `file`, zeros when that is
  /// not known.
  std::array<std::uint8_t, 32> payloadDigest{};
  /// The document's file as it was last read, saved or found; absent without a file.
  std::optional<StableFileStatus> file;
  RecordTime created;
  std::uint32_t processID = 0;
  /// The system's random number of this start (`/proc/sys/kernel/random/boot_id`); zeros where the
  /// system has none.
  std::array<std::uint8_t, 16> bootID{};
  /// The random number of the process that has written the record: processes of one start of the
  /// system can have the same `processID`, one after another or in containers of their own. 0 where
  /// it is not known, as in the records of older versions.
  std::uint64_t writerNumber = 0;
  std::int64_t caretOffset = 0;
  HexSelection selection;
  std::uint32_t bookmarkCount = 0;
  /// The number in the name of an untitled document, else 0.
  std::uint32_t untitledNumber = 0;
  /// The ID of the record whose payload a journal begins with. Empty when it begins with `file`, or
  /// with nothing in an untitled document.
  std::string baseID;
  /// The canonical path of the document's file in the system's bytes; empty for an untitled one.
  std::string path;

  bool operator==(const RecordHeader&) const = default;

  /// Notes the digest of the bytes of `file`, with which a journal begins.
  void setBaseDigest(const ContentDigest& digest);
  /// That digest; absent when it is not known.
  std::optional<ContentDigest> baseDigest() const;

  /// The header as it stands on disk. Throws ENAMETOOLONG for a path or base ID that is too long.
  std::array<std::uint8_t, kByteCount> encoded() const;

  /// Reads a header from the first `kByteCount` bytes of a file, which are not trusted. Throws code
  /// 3101 when they are no header, damaged, or hold values that no header has, and code 3102 for a
  /// header of a newer version.
  static RecordHeader decoded(std::span<const std::uint8_t> bytes);
};

/// True if this is the ID of a record: 16 lowercase hexadecimal digits, "-" and a UUID.
bool isRecordID(std::string_view text);

/// Code 3101: not a record, or a damaged one.
Error damagedRecordError();
/// Code 3102: a record that a newer version has written.
Error newerRecordError();
bool isDamagedRecord(const Error& error);
bool isNewerRecord(const Error& error);

}  // namespace quillmor
