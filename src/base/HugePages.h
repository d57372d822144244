#pragma once

#include <cstddef>

namespace quillmor {

/// Asks the system to back memory that was reserved and is about to be written from front to back
/// with huge pages: clearing and mapping small ones one by one takes longer than filling them. Only
/// the whole pages within are concerned, less than some MiB are left alone, and it stays advice.
/// Any thread.
void preferHugePages(void* memory, std::size_t size) noexcept;

}  // namespace quillmor
