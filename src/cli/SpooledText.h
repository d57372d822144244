#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "base/ByteUnits.h"

namespace quillmor::cli {

/// A text of any length that is kept until it is known to be good: a little of it in memory, more
/// in a nameless file in the folder for temporary files (TMPDIR), which goes with the object. Fails
/// with POSIX errors.
class SpooledText {
 public:
  /// What is kept in memory, in bytes.
  static constexpr std::size_t kInMemory = 16 * kMiB;

  void append(std::string_view piece);

  /// Hands the whole text on, in order.
  void forEachPiece(const std::function<void(std::string_view)>& onPiece);

 private:
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  void spill();

  std::string text_;
  std::unique_ptr<std::FILE, Closer> file_;  // what came before `text_`
};

}  // namespace quillmor::cli
