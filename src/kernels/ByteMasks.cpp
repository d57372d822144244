#include "kernels/ByteMasks.h"

namespace quillmor {

std::vector<const ByteMaskKernels*> availableByteMaskKernels() {
  std::vector<const ByteMaskKernels*> available = {&portableByteMaskKernels};
#if defined(__x86_64__) || defined(__i386__)
  if (sse2ByteMaskKernels.name != nullptr && __builtin_cpu_supports("sse2")) {
    available.push_back(&sse2ByteMaskKernels);
  }
  if (avx2ByteMaskKernels.name != nullptr && __builtin_cpu_supports("avx2")) {
    available.push_back(&avx2ByteMaskKernels);
  }
#endif
  return available;
}

const ByteMaskKernels& fastestByteMaskKernels() {
  static const ByteMaskKernels& fastest = *availableByteMaskKernels().back();
  return fastest;
}

}  // namespace quillmor
