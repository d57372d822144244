#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "base/ByteUnits.h"

namespace quillmor::cli {

/// A text of any length that is kept until it is known to be good: a little of it in memory, more
/// in a nameless file in the folder for temporary files (TMPDIR), which is removed with the object.
/// Throws POSIX errors.
class SpooledText {
 public:
  /// The most bytes kept in memory.
  static constexpr std::size_t kInMemory = 16 * kMiB;

  void append(std::string_view piece);

  /// Passes on the whole text, in order.
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
