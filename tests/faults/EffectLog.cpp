#include "faults/EffectLog.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace quillmor::test {

namespace {

std::string bytesOf(std::ifstream& in, std::uint64_t length) {
  std::string bytes(length, '\0');
  in.read(bytes.data(), static_cast<std::streamsize>(length));
  return bytes;
}

}  // namespace

std::vector<Effect> readEffects(const std::string& log) {
  std::vector<Effect> effects;
  if (!std::filesystem::exists(log)) return effects;
  std::ifstream in(log, std::ios::binary);
  EffectHeader header;
  while (in.read(reinterpret_cast<char*>(&header), sizeof header)) {
    Effect effect{.kind = header.kind, .inode = header.inode, .offset = header.offset};
    effect.path = bytesOf(in, header.pathLength);
    effect.otherPath = bytesOf(in, header.otherPathLength);
    effect.data = bytesOf(in, header.dataLength);
    if (!in) throw std::runtime_error("the log of effects is cut off");
    effects.push_back(std::move(effect));
  }
  return effects;
}

}  // namespace quillmor::test
