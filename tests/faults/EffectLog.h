#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "faults/shim/EffectFormat.h"

namespace quillmor::test {

/// What a program has done to a disk, one effect after another.
struct Effect {
  EffectKind kind = EffectKind::notUnderstood;
  std::uint64_t inode = 0;
  std::int64_t offset = 0;
  std::string path = {};
  std::string otherPath = {};
  std::string data = {};
};

/// Reads the log that a program with the fault library has written. A log that is cut off throws.
std::vector<Effect> readEffects(const std::string& log);

}  // namespace quillmor::test
