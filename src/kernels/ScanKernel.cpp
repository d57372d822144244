#include "kernels/ScanKernel.h"

#include "base/Check.h"

namespace quillmor {

namespace {

bool machineHas(ScanPath path) {
#if defined(__x86_64__) || defined(__i386__)
  if (path == ScanPath::avx2) return __builtin_cpu_supports("avx2");
  if (path == ScanPath::sse2) return __builtin_cpu_supports("sse2");
#endif
  return path == ScanPath::portable;
}

const ScanKernel& kernelOf(ScanPath path) {
  switch (path) {
    case ScanPath::avx2:
      return avx2ScanKernel;
    case ScanPath::sse2:
      return sse2ScanKernel;
    case ScanPath::portable:
      break;
  }
  return portableScanKernel;
}

}  // namespace

bool isAvailable(ScanPath path) {
  return kernelOf(path).forward != nullptr && machineHas(path);
}

ScanPath fastestScanPath() {
  static const ScanPath fastest = isAvailable(ScanPath::avx2)   ? ScanPath::avx2
                                  : isAvailable(ScanPath::sse2) ? ScanPath::sse2
                                                                : ScanPath::portable;
  return fastest;
}

const ScanKernel& scanKernel(ScanPath path) {
  const ScanKernel& kernel = kernelOf(path);
  checkPrecondition(kernel.forward != nullptr, "a path that this program holds");
  return kernel;
}

}  // namespace quillmor
