#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillmor {

// Checks that commands make before they work on a range of a document, and the sentences of their
// refusals. Pure functions, any thread.

/// The reason for refusing a command; absent when it may go on.
using Refusal = std::optional<std::string>;

/// For changing `length` bytes in memory at once.
Refusal refusalOfEditing(std::int64_t length);

/// For making `count` bytes.
Refusal refusalOfGenerating(std::int64_t count);

/// For replacing `removing` bytes by `inserting` bytes in a document of `byteCount` bytes, which
/// may have at most `limit`.
Refusal refusalOfResult(std::int64_t byteCount, std::int64_t removing, std::int64_t inserting,
                        std::int64_t limit);

/// For placing `length` bytes on the clipboard.
Refusal refusalOfCopying(std::int64_t length);

/// For turning `length` bytes into text for the clipboard.
Refusal refusalOfClipboardText(std::int64_t length);

/// For writing `length` bytes into one text patch.
Refusal refusalOfHexPatch(std::int64_t length);

/// For reversing groups of `groupSize` bytes in `length` bytes.
Refusal refusalOfSwapping(std::int64_t length, std::int64_t groupSize);

/// The sentence about bytes after the last complete group; absent when there are none.
std::optional<std::string> noteOnTrailingBytes(std::int64_t length, std::int64_t groupSize);

}  // namespace quillmor
