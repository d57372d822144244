#pragma once

#include <sys/resource.h>

#include <cstdint>

/// Whether `operator new` throws when the system refuses memory. A sanitizer's own ends the process
/// instead, so tests of what is done about it exist in the other builds only.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QUILLMOR_NEW_CAN_FAIL 0
#else
#define QUILLMOR_NEW_CAN_FAIL 1
#endif

/// Whether the memory of this process is that of the code under test. The thread sanitizer keeps
/// several bytes about each byte that is read.
#if defined(__SANITIZE_THREAD__)
#define QUILLMOR_MEMORY_IS_MEASURABLE 0
#else
#define QUILLMOR_MEMORY_IS_MEASURABLE 1
#endif

namespace quillmor {

/// How many bytes of the pages between `begin` and `end`, all of them mapped, lie in memory.
std::int64_t residentBytes(const std::uint8_t* begin, const std::uint8_t* end);

/// While one of these lives, the system refuses every new mapping of more than `kRoomLeft` bytes.
class NoMoreAddressSpace {
 public:
  /// Enough for what throwing an exception takes under a sanitizer.
  static constexpr std::int64_t kRoomLeft = 1024 * 1024;

  NoMoreAddressSpace();
  ~NoMoreAddressSpace();
  NoMoreAddressSpace(const NoMoreAddressSpace&) = delete;
  NoMoreAddressSpace& operator=(const NoMoreAddressSpace&) = delete;

 private:
  ::rlimit before_{};
};

}  // namespace quillmor
