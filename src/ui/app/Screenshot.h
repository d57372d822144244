#pragma once

#include "app/AppDelegate.h"
#include "ui/app/ApplicationWindows.h"
#include "ui/app/CommandLine.h"

namespace quillmor {

/// Suppresses the messages of Qt's offscreen platform about itself on standard error; all others
/// are written as before. Call it before the application object is made.
void silencePlatformWithoutScreen();

/// Opens the command line's file in an editor window and writes what the window shows as a picture,
/// as guarded as an export and never onto the file itself. Throws an `Error` when the file cannot
/// be read or the picture cannot be written.
void saveScreenshot(const CommandLine& line, AppDelegate& delegate, ApplicationWindows& windows);

}  // namespace quillmor
