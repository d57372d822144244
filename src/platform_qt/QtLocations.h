#pragma once

#include <QString>
#include <QUrl>

#include "base/FileLocation.h"

/// Between `FileLocation` and the toolkit's ways to name files. A path stays the system's bytes in
/// both directions as long as it travels as a URL; a `QString` cannot hold bytes that are not
/// UTF-8, so text is for reading only. Pure functions, safe from any thread.
namespace quillmor::QtLocations {

/// The location a URL from a panel or a drop names. Percent escapes become bytes.
FileLocation fromUrl(const QUrl& url);

/// The URL of `location`, with every byte of a local path that a URL reserves escaped.
QUrl toUrl(const FileLocation& location);

/// The path (or URL) for people to read; bytes that are not UTF-8 show as U+FFFD.
QString displayText(const FileLocation& location);

}  // namespace quillmor::QtLocations
