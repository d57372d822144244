#pragma once

#include <span>

#include "app/ApplicationSurface.h"
#include "window/commands/Command.h"

namespace quillmor {

class AppDelegate;

/// One command of the application: it needs no editor.
struct ApplicationCommand {
  Command command;
  void (*perform)(AppDelegate&, ApplicationSurface&, const CommandOrigin&) = nullptr;
};

/// All of them, in no order.
std::span<const ApplicationCommand> applicationCommands();

}  // namespace quillmor
