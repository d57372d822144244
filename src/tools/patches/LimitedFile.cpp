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
  const auto begin = [&progress](std::int64_t byteCount) {
    progress.checkpoint();
    std::vector<std::uint8_t> bytes;
    bytes.reserve(static_cast<std::size_t>(byteCount));
    return bytes;
  };
  const auto append = [&progress](std::vector<std::uint8_t>& bytes,
                                  std::span<const std::uint8_t> chunk) {
    progress.checkpoint();
    bytes.insert(bytes.end(), chunk.begin(), chunk.end());
  };
  return limited(tooLarge, [&] {
    return SecureFileAccess::processStableFile(location, maxFileBytes, begin, append).value;
  });
}

}  // namespace quillmor
