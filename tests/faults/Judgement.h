#pragma once

#include <string>

#include "faults/SaveUnderFaults.h"
#include "faults/Score.h"

namespace quillmor::test {

/// Judges a save in place that has ended by itself. Lost: neither old nor new bytes can be had.
/// Wrong: it says that it is done and the file has not the new bytes, or it fails without a
/// message. Left behind: any file but a record of a file that it has begun to change and not
/// finished, and but what it was kept from removing.
void judgeSave(const SaveUnderFaults& trial, const Fault& fault, const EndedRun& ended,
               const std::string& where, Score& score);

/// The same of an export, which must leave its destination as it was when it fails.
void judgeExport(const SaveUnderFaults& trial, bool wasThere, const Fault& fault,
                 const EndedRun& ended, const std::string& where, Score& score);

}  // namespace quillmor::test
