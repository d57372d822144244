#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace quillmor {

/// Whether the bytes begin with any of the magic numbers. Pure function, any thread.
bool hasKnownStructure(std::span<const std::uint8_t> bytes);

/// The kinds of file whose magic numbers the bytes begin with, a line each; every one of them is
/// tried. Pure function, any thread.
std::string fileStructureReport(std::span<const std::uint8_t> bytes);

}  // namespace quillmor
