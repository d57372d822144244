#pragma once

#include "window/commands/Command.h"
#include "window/commands/CommandContext.h"

namespace quillmor {

/// The base of a family of commands: each gives its rows with a static `rows()`. The context
/// outlives the family.
class CommandFamily {
 protected:
  explicit CommandFamily(CommandContext& context)
      : context_(context), session_(context.session()) {}

  CommandContext& context_;
  EditSession& session_;
};

}  // namespace quillmor
