#pragma once

#include <string>
#include <vector>

namespace quillmor::test {

/// Makes a command to start the editor through run the program that is judged: what
/// QUILLMOR_FAULTS_WINDOW names in the environment, or the one that was built.
void addJudgedWindow(std::vector<std::string>& command);

}  // namespace quillmor::test
