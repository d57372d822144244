#include "cli/Requirements.h"

#include "base/Error.h"

namespace quillmor::cli {

void requireNone(const Refusal& refusal) {
  if (refusal) throw Error::quillmor(2002, *refusal);
}

HexSelection requireBytes(HexSelection range) {
  if (range.length < 1) throw Error::quillmor(2003, "The range is empty.");
  return range;
}

}  // namespace quillmor::cli
