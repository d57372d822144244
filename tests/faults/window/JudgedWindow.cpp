#include "faults/window/JudgedWindow.h"

#include <cstdlib>

namespace quillmor::test {

void addJudgedWindow(std::vector<std::string>& command) {
  // In place of the program that was built, which comes as the first argument.
  if (const char* const other = std::getenv("QUILLMOR_FAULTS_WINDOW"))
    command.insert(command.end(), {"/bin/sh", "-c", "shift; exec \"$0\" \"$@\"", other});
}

}  // namespace quillmor::test
