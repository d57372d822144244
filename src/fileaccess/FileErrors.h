#pragma once

#include "base/Error.h"

/// The errors that more than one operation on files reports.
namespace quillmor::SecureFileAccess {

/// Code 1200 for something to be read.
Error inputIsNotALocalFileError();

/// Code 1200 for something to be written.
Error outputIsNotALocalFileError();

/// Code 1203 for directories apart: FIFOs, sockets, devices.
Error inputIsNotARegularFileError();

/// Code 1204: the read found the file grown, shrunk, replaced or modified.
Error changedWhileReadingError();

}  // namespace quillmor::SecureFileAccess
