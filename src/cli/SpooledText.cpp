#include "cli/SpooledText.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "base/Error.h"

namespace quillmor::cli {

namespace {

[[noreturn]] void failWithErrno() {
  const int number = errno;
  throw Error::posix(
      number, "Could not keep the text in a temporary file: " + Error::posix(number).message());
}

/// A file in the folder for temporary files that has no name any more; null and `errno` on failure.
std::FILE* namelessFile() {
  const char* const folder = std::getenv("TMPDIR");  // NOLINT(concurrency-mt-unsafe)
  std::string path = std::string(folder != nullptr ? folder : P_tmpdir) + "/quillmor-cli-XXXXXX";
  const int descriptor = ::mkostemp(path.data(), O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  ::unlink(path.c_str());
  return ::fdopen(descriptor, "w+b");
}

}  // namespace

void SpooledText::append(std::string_view piece) {
  text_ += piece;
  if (text_.size() > kInMemory) spill();
}

void SpooledText::spill() {
  if (!file_) file_.reset(namelessFile());
  if (!file_ || std::fwrite(text_.data(), 1, text_.size(), file_.get()) != text_.size())
    failWithErrno();
  text_.clear();
}

void SpooledText::forEachPiece(const std::function<void(std::string_view)>& onPiece) {
  if (file_) {
    if (std::fseek(file_.get(), 0, SEEK_SET) != 0) failWithErrno();
    std::string piece(kInMemory, '\0');
    while (const auto count = std::fread(piece.data(), 1, piece.size(), file_.get()))
      onPiece(std::string_view(piece).substr(0, count));
    if (std::ferror(file_.get()) != 0) failWithErrno();
  }
  onPiece(text_);
}

}  // namespace quillmor::cli
