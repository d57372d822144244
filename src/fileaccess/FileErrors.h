#pragma once

#include <cstdint>

#include "base/Error.h"

/// The errors that more than one operation on files reports.
namespace quillmor::SecureFileAccess {

/// Code 1200 for something to be read.
Error inputIsNotALocalFileError();

/// Code 1200 for something to be written.
Error outputIsNotALocalFileError();

/// Code 1203 for FIFOs, sockets and devices; directories have an error of their own.
Error inputIsNotARegularFileError();

inline constexpr int kExceedsLimitCode = 1205;

/// Code 1205: the file has more bytes than `limit`.
Error exceedsLimitError(std::int64_t limit);

/// Code 1204: the file grew, shrank, was replaced or was modified during the read.
Error changedWhileReadingError();
bool isChangedWhileReading(const Error& error);

}  // namespace quillmor::SecureFileAccess
