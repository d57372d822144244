#pragma once

#include <map>

#include "faults/PowerCut.h"
#include "faults/SaveUnderFaults.h"
#include "support/TemporaryFolder.h"

namespace quillmor::test {

/// What can be had of the file of a trial on disks that a power cut may have left. A record is
/// looked for when the file itself is torn, once for the same records.
class DiskOutcomes {
 public:
  /// `top` is the folder that has the places of the trial in "files" and "state". Both outlive this
  /// object.
  DiskOutcomes(const SaveUnderFaults& trial, std::string top)
      : trial_(trial), top_(std::move(top)) {}

  Outcome on(const DiskImage& image);

 private:
  const SaveUnderFaults& trial_;
  const std::string top_;
  const TemporaryFolder copies_;
  std::map<DiskImage, Outcome> outcomes_;
};

}  // namespace quillmor::test
