#pragma once

#include "window/commands/Command.h"
#include "window/commands/CommandContext.h"

namespace quillmor {

/// The base of a family of commands. A family with menu items gives their rows in a static
/// `rows()`. The context outlives the family.
class CommandFamily {
 protected:
  explicit CommandFamily(CommandContext& context)
      : context_(context), session_(context.session()), messages_(context.messages()) {}

  CommandContext& context_;
  EditSession& session_;
  WindowMessages& messages_;
};

}  // namespace quillmor
