#pragma once

#include "app/AppDelegate.h"
#include "app/ApplicationWindows.h"
#include "app/CommandLine.h"

namespace quillmor {

/// Opens the command line's file in an editor window and saves what the window shows as a picture.
/// Throws an `Error` when the file cannot be read or the picture cannot be written.
void saveScreenshot(const CommandLine& line, AppDelegate& delegate, ApplicationWindows& windows);

}  // namespace quillmor
