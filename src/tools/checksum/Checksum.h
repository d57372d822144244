#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/TaskProgress.h"
#include "document/HexSelection.h"
#include "fileaccess/StableFile.h"

/// Checksums and digests. Safe from any thread.
namespace quillmor::Checksum {

/// Checksums of bytes; the initial values are those of no bytes.
struct BasicValues {
  std::uint32_t crc32 = 0;    ///< IEEE 802.3, reflected, polynomial 0xEDB88320
  std::uint32_t adler32 = 1;  ///< RFC 1950
  std::uint8_t sum8 = 0;
  std::uint16_t sum16 = 0;
  std::uint32_t sum32 = 0;

  bool operator==(const BasicValues&) const = default;
};

/// Digests in lowercase hexadecimal.
struct Digests {
  std::string md5;     ///< RFC 1321
  std::string sha1;    ///< FIPS 180-4
  std::string sha256;  ///< FIPS 180-4

  bool operator==(const Digests&) const = default;
};

BasicValues basicValues(std::span<const std::uint8_t> bytes);

/// Returns the report about the bytes of `selection`, clipped to `bytes`, or about all of them when
/// it is empty. Two threads share the work, and each reads the bytes once. The total of `progress`
/// becomes the number of bytes. Throws `Error::stopped()` when a stop was requested, and code 2401
/// when the system does not offer a digest.
std::string report(std::span<const std::uint8_t> bytes, HexSelection selection,
                   TaskProgress& progress);

/// The same about a file, which is not kept in memory. Also fails as `StableFile::read` does. The
/// report counts only if the file is unchanged at the end.
std::string report(const StableFile& file, HexSelection selection, TaskProgress& progress);

/// Returns the report about a range, which is clipped to the bytes and may be empty. Otherwise as
/// above.
std::string rangeReport(std::span<const std::uint8_t> bytes, HexSelection range,
                        TaskProgress& progress);
std::string rangeReport(const StableFile& file, HexSelection range, TaskProgress& progress);

}  // namespace quillmor::Checksum
