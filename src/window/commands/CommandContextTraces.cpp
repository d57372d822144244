// What the work in a window leaves behind.

#include "window/commands/CommandContext.h"

namespace quillmor {

UnsavedChanges::Owner CommandContext::ownerOfChanges() {
  return {.places = [this] { return session_.places(); },
          .didFail =
              [this](const Error& error) {
                messages_.showNotice("Unsaved changes cannot be kept for a recovery: " +
                                     error.messageWithReason());
              }};
}

Traces CommandContext::traces() const {
  return unsavedChanges_.isKeeping() ? Traces::kept : Traces::none;
}

void CommandContext::setTraces(Traces traces) {
  unsavedChanges_.setKeeping(traces == Traces::kept);
  history_->setEnabled(traces == Traces::kept);
}

}  // namespace quillmor
