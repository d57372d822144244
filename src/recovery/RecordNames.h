#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillmor {

/// The ends of the names of records: complete, still being written, and found damaged.
inline constexpr std::string_view kRecordSuffix = ".qrec";
inline constexpr std::string_view kUnfinishedSuffix = ".tmp";
inline constexpr std::string_view kSetAsideSuffix = ".bad";

/// The first 16 hexadecimal digits of the SHA-256 of a path, which begin the names of what belongs
/// to that file. Throws code 2401 when the library fails.
std::string pathHash(std::string_view path);

/// A new ID for a record of the file at `path`. Throws code 2401 or a POSIX error.
std::string newRecordID(std::string_view path);

/// The name of a record's file: the ID in the private directory; beside the document a hidden name
/// that shows what it belongs to, cut so that the system can take it.
std::string recordFileName(std::string_view id, std::string_view path, bool isPrivateDirectory);

/// The ID of the record with this file name in the private directory; absent for other names.
std::optional<std::string> recordIDOfName(std::string_view fileName);

/// The ID of the record with this file name beside the file at `path`; absent for other names.
std::optional<std::string> recordIDBeside(std::string_view fileName, std::string_view path);

/// The system's random number of this start; zeros where there is none.
std::array<std::uint8_t, 16> currentBootID();

/// A random number of this process, never 0: the same in every call, and another one in every other
/// process. Throws a POSIX error when the system has no random numbers.
std::uint64_t currentWriterNumber();

}  // namespace quillmor
