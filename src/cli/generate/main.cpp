// Writes the manual page and the completions of quillmor-cli, laid out as they are installed.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "cli/Completions.h"
#include "cli/ManualPage.h"

namespace {

/// Whether the file holds the text now; a message says why not.
bool isWritten(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (file) return true;
  std::fprintf(stderr, "quillmor-cli-pages: cannot write %s: %s\n", path.c_str(),
               std::strerror(errno));
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace quillmor::cli;
  if (argc != 2) {
    std::fputs("Usage: quillmor-cli-pages DIRECTORY\n", stderr);
    return 2;
  }
  const std::string folder = std::string(argv[1]) + "/";
  const bool isDone =
      isWritten(folder + "man/man1/quillmor-cli.1", manualPage()) &&
      isWritten(folder + "bash-completion/completions/quillmor-cli", bashCompletion()) &&
      isWritten(folder + "zsh/site-functions/_quillmor-cli", zshCompletion()) &&
      isWritten(folder + "fish/vendor_completions.d/quillmor-cli.fish", fishCompletion());
  return isDone ? 0 : 1;
}
