#include "tools/patches/LimitedFile.h"

#include <cstddef>
#include <span>

#include "fileaccess/StableReading.h"

namespace quillmor {

namespace {

/// Returns the result of `read`; throws `tooLarge` in place of its error about the limit.
template <class Read>
auto limited(const Error& tooLarge, Read read) {
  try {
    return read();
  } catch (const Error& error) {
    if (SecureFileAccess::isExceededLimit(error)) throw tooLarge;
    throw;
  }
}

}  // namespace

ByteBuffer readLimitedFile(const FileLocation& location, std::int64_t maxFileBytes,
                           const Error& tooLarge, TaskProgress& progress) {
  return limited(tooLarge,
                 [&] { return SecureFileAccess::readData(location, maxFileBytes, &progress); });
}

std::vector<std::uint8_t> readLimitedFileUncounted(const FileLocation& location,
                                                   std::int64_t maxFileBytes, const Error& tooLarge,
                                                   const TaskProgress& progress) {
  return limited(tooLarge, [&] {
    const StableFile file(location, maxFileBytes);
    progress.checkpoint();
    std::vector<std::uint8_t> bytes;
    bytes.reserve(static_cast<std::size_t>(file.size()));
    file.forEachChunk([&](std::span<const std::uint8_t> chunk) {
      progress.checkpoint();
      bytes.insert(bytes.end(), chunk.begin(), chunk.end());
    });
    return bytes;
  });
}

}  // namespace quillmor
