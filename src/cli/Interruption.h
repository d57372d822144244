#pragma once

#include "base/TaskProgress.h"

/// Signals that ask the program to end. Stopped work removes what it has begun to write. The
/// program then dies of the signal, as the shell expects.
namespace quillmor::cli::Interruption {

/// Lets SIGINT, SIGTERM, SIGHUP and SIGQUIT, unless they are ignored already, ask `progress` to
/// stop. Makes writing into a closed pipe or beyond a size limit an error of that write. `progress`
/// is never destroyed. Called once, before there are other threads.
void install(TaskProgress& progress);

/// Ends the process by the signal that asked it to stop.
[[noreturn]] void die();

/// Ends the process as writing into a closed pipe does: quietly.
[[noreturn]] void dieOfClosedPipe();

}  // namespace quillmor::cli::Interruption
