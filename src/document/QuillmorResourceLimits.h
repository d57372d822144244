#pragma once

#include <cstdint>

/// Process-wide limits on the memory of documents.
namespace quillmor::QuillmorResourceLimits {

/// Returns the most bytes a document may have in memory. Computed from the machine's physical
/// memory on first use and the same for the life of the process. Any thread.
std::int64_t maximumDocumentByteCount();

/// Returns the limit for a machine with `physicalMemory` bytes: one sixteenth of it, at most 1 GiB;
/// 256 MiB below 4 GiB of memory.
std::int64_t maximumDocumentByteCountFor(std::uint64_t physicalMemory);

}  // namespace quillmor::QuillmorResourceLimits
