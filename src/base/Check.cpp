#include "base/Check.h"

#include <cstdio>
#include <cstdlib>

namespace quillmor {

void failPrecondition(const char* message) noexcept {
  std::fprintf(stderr, "quillmor: precondition failed: %s\n", message);
  std::abort();
}

}  // namespace quillmor
