#pragma once

#include "base/TaskProgress.h"
#include "tools/analysis/ByteStatistics.h"
#include "tools/checksum/ByteSource.h"
#include "tools/checksum/Checksum.h"

namespace quillmor::Checksum {

/// All that the reports say about bytes.
struct AllValues {
  BasicValues basic;
  Digests digests;
  ByteCounts counts{};
};

/// Any thread; a second one shares the work when the bytes are many. The total of `progress`
/// becomes their number; fails as reading them does, throws `Error::stopped()` when it says so, and
/// code 2401 when the system's digests are not to be had. No other thread is at work any more when
/// it returns or throws.
AllValues allValues(const ByteSource& source, TaskProgress& progress);

}  // namespace quillmor::Checksum
