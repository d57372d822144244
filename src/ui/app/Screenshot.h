#pragma once

#include "app/AppDelegate.h"
#include "ui/app/ApplicationWindows.h"
#include "ui/app/CommandLine.h"

namespace quillmor {

/// Keeps what Qt's platform without a screen says about itself from standard error; all other
/// messages are written as before. Before the application object is made.
void silencePlatformWithoutScreen();

/// Opens the command line's file in an editor window and writes what the window shows as a picture,
/// as guarded as an export and never onto the file itself. Throws an `Error` when the file cannot
/// be read or the picture cannot be written.
void saveScreenshot(const CommandLine& line, AppDelegate& delegate, ApplicationWindows& windows);

}  // namespace quillmor
