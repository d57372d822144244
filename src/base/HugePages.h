#pragma once

#include <cstddef>

namespace quillmor {

/// Asks the system to back reserved memory with huge pages before it is written from front to back.
/// Clearing and mapping small pages one by one takes longer than filling them. Only the whole huge
/// pages within the range are meant. A range of less than some MiB is left alone, and the request
/// is only advice. Any thread.
void preferHugePages(void* memory, std::size_t size) noexcept;

}  // namespace quillmor
