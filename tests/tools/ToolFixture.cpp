#include "ToolFixture.h"

#include <sys/wait.h>

#include <array>
#include <cstdio>

namespace quillmor::test {

std::string ToolFixture::outputOf(const std::string& command, int expectedStatus) const {
  const std::string line = "cd '" + folder.path().string() + "' && LC_ALL=C " + command;
  std::FILE* const pipe = popen(line.c_str(), "r");
  if (pipe == nullptr) {
    ADD_FAILURE() << "cannot run: " << command;
    return {};
  }
  std::string output;
  std::array<char, 65536> piece{};
  while (const auto count = std::fread(piece.data(), 1, piece.size(), pipe)) {
    output.append(piece.data(), count);
  }
  const int status = pclose(pipe);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == expectedStatus) << command;
  return output;
}

FileLocation ToolFixture::write(std::string_view name, std::span<const std::uint8_t> bytes) const {
  return folder.write(name, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

}  // namespace quillmor::test
