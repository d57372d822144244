// What the fuzzing engine calls; built once for each target, which QUILLMOR_FUZZ_TARGET names.

#include <cstddef>
#include <cstdint>

#include "fuzz/FuzzTargets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillmor::fuzz::QUILLMOR_FUZZ_TARGET({data, size});
  return 0;
}
