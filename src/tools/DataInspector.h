#pragma once

#include <cstdint>
#include <span>
#include <string>

/// What the bytes at an offset mean as numbers. Pure functions, safe from any thread.
namespace quillmor::DataInspector {

/// The one-line interpretation of the bytes from `offset` on: 8, 16 and 32 bits, the wider ones as
/// far as enough bytes follow; "EOF" when `offset` is no offset of a byte.
std::string inspectorText(std::span<const std::uint8_t> bytes, std::int64_t offset);

}  // namespace quillmor::DataInspector
