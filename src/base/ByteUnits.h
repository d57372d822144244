#pragma once

#include <cstdint>

namespace quillmor {

/// Bytes.
inline constexpr std::int64_t kKiB = 1024;
inline constexpr std::int64_t kMiB = 1024 * kKiB;
inline constexpr std::int64_t kGiB = 1024 * kMiB;

}  // namespace quillmor
