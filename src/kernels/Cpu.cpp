#include "kernels/Cpu.h"

namespace quillmor {

bool cpuHas(CpuFeature feature) {
#if defined(__x86_64__) || defined(__i386__)
  // The compiler's runtime asks the processor once, when the program starts.
  switch (feature) {
    case CpuFeature::none:
      break;
    case CpuFeature::sse2:
      return __builtin_cpu_supports("sse2") != 0;
    case CpuFeature::ssse3:
      return __builtin_cpu_supports("ssse3") != 0;
    case CpuFeature::carrylessMultiplication:
      return __builtin_cpu_supports("pclmul") != 0 && __builtin_cpu_supports("sse4.1") != 0;
    case CpuFeature::avx2:
      return __builtin_cpu_supports("avx2") != 0;
  }
#endif
  return feature == CpuFeature::none;
}

}  // namespace quillmor
