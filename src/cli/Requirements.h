#pragma once

#include "document/HexSelection.h"
#include "tools/edits/EditChecks.h"

namespace quillmor::cli {

/// Throws code 2002 with the sentence of `refusal`, if there is one.
void requireNone(const Refusal& refusal);

/// Returns `range` if it has a byte; throws code 2003 otherwise.
HexSelection requireBytes(HexSelection range);

}  // namespace quillmor::cli
