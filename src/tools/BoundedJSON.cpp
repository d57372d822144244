#include "tools/BoundedJSON.h"

namespace quillmor::BoundedJSON {

namespace {

/// Follows how deep a text is nested. Up to the first character that is no JSON it is where the
/// parser is; what comes behind that, the parser does not read.
class DepthMeter {
 public:
  /// False when `character` opens one level too many.
  bool accept(char character) {
    if (isInString_) {
      acceptInString(character);
    } else if (character == '"') {
      isInString_ = true;
    } else if (character == '[' || character == '{') {
      ++depth_;
    } else if (character == ']' || character == '}') {
      --depth_;
    }
    return depth_ <= kMaximumDepth;
  }

 private:
  void acceptInString(char character) {
    if (isEscaped_) {
      isEscaped_ = false;
    } else if (character == '\\') {
      isEscaped_ = true;
    } else if (character == '"') {
      isInString_ = false;
    }
  }

  std::int64_t depth_ = 0;
  bool isInString_ = false;
  bool isEscaped_ = false;
};

}  // namespace

bool mayBeParsed(std::span<const std::uint8_t> file) {
  DepthMeter meter;
  for (const std::uint8_t byte : file) {
    if (byte == 0 || !meter.accept(static_cast<char>(byte))) return false;
  }
  return true;
}

}  // namespace quillmor::BoundedJSON
