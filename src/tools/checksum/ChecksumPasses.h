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

/// Computes all values; a second thread shares the work when there are many bytes. The total of
/// `progress` becomes their number. Fails as reading them does, throws `Error::stopped()` when a
/// stop was requested, and code 2401 when the system does not offer a digest. No other thread is at
/// work when this returns or throws. Any thread.
AllValues allValues(const ByteSource& source, TaskProgress& progress);

}  // namespace quillmor::Checksum
