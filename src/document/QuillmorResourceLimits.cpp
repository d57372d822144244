#include "document/QuillmorResourceLimits.h"

#include <unistd.h>

#include <algorithm>

#include "base/ByteUnits.h"

namespace quillmor::QuillmorResourceLimits {
namespace {

/// Bytes of memory in the machine; 0, which gives the lowest limit, when the system does not say.
std::uint64_t installedMemory() {
  const long pages = ::sysconf(_SC_PHYS_PAGES);
  const long pageSize = ::sysconf(_SC_PAGESIZE);
  if (pages <= 0 || pageSize <= 0) return 0;
  return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
}

}  // namespace

std::int64_t maximumDocumentByteCount() {
  static const std::int64_t limit = maximumDocumentByteCountFor(installedMemory());
  return limit;
}

std::int64_t maximumDocumentByteCountFor(std::uint64_t physicalMemory) {
  constexpr std::uint64_t kLowMemoryLimit = 268435456;
  constexpr std::uint64_t kHighestLimit = static_cast<std::uint64_t>(kGiB);
  if ((physicalMemory >> 32) == 0) return kLowMemoryLimit;
  return static_cast<std::int64_t>(std::min(physicalMemory >> 4, kHighestLimit));
}

}  // namespace quillmor::QuillmorResourceLimits
