#include "kernels/SpacedHexKernel.h"

#include "kernels/Cpu.h"

namespace quillmor {
namespace {

char* write(char* out, std::span<const std::uint8_t> bytes, std::string_view digits,
            char separator) {
  for (const std::uint8_t byte : bytes) {
    out[0] = digits[byte >> 4];
    out[1] = digits[byte & 15];
    out[2] = separator;
    out += 3;
  }
  return out;
}

constexpr KernelVariant<SpacedHexKernel> kVariants[] = {{portableSpacedHexKernel},
                                                        {ssse3SpacedHexKernel, CpuFeature::ssse3}};

}  // namespace

constinit const SpacedHexKernel portableSpacedHexKernel = {.name = "portable", .write = write};

const SpacedHexKernel& fastestSpacedHexKernel() {
  static const SpacedHexKernel& fastest = fastestOf(kVariants);
  return fastest;
}

std::vector<const SpacedHexKernel*> availableSpacedHexKernels() {
  return availableOf(kVariants);
}

}  // namespace quillmor
