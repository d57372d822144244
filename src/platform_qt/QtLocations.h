#pragma once

#include <QString>
#include <QUrl>

#include "base/FileLocation.h"

/// Converts between `FileLocation` and the toolkit's names of files. A URL keeps the system's bytes
/// of a path in both directions. A `QString` cannot hold bytes that are not UTF-8, so text is for
/// display only. Pure functions, safe from any thread.
namespace quillmor::QtLocations {

/// Returns the location that a URL from a panel or a drop names. Percent escapes become bytes.
FileLocation fromUrl(const QUrl& url);

/// Returns the URL of `location`. Bytes of a local path that a URL reserves are escaped.
QUrl toUrl(const FileLocation& location);

/// Returns the path (or URL) for people to read; bytes that are not UTF-8 show as U+FFFD.
QString displayText(const FileLocation& location);

}  // namespace quillmor::QtLocations
