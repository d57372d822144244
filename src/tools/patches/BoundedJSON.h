#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

#include "base/ByteUnits.h"
#include "base/Error.h"
#include "base/TaskProgress.h"

/// JSON from untrusted files. Any thread.
namespace quillmor::BoundedJSON {

/// The deepest nesting of arrays and objects.
inline constexpr int kMaximumDepth = 64;

/// How many bytes are parsed between two checks for a stop. Few, because one byte of a hostile text
/// can cost a parser a quarter of a microsecond.
inline constexpr std::size_t kBytesBetweenLooks = 16 * kKiB;

/// The errors for a text that cannot be parsed.
struct Errors {
  Error invalid;  ///< it is not JSON
  Error tooDeep;  ///< it is JSON up to a value deeper than `kMaximumDepth`
};

/// Measures how deep a text is nested, as long as it is JSON.
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

/// The characters of a text for a parser that reads them once, front to back. Taking a character
/// throws if the parser must not see it: `tooDeep` if it opens one level too many; `invalid` for a
/// NUL, which valid JSON never holds and parsers take for the end of the text. Throws
/// `Error::stopped()` on a stop request of `progress`, which may be null.
class GuardedText {
 public:
  GuardedText(std::span<const std::uint8_t> text, const Errors& errors,
              const TaskProgress* progress)
      : text_(text), errors_(errors), progress_(progress) {}

  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = char;

    Iterator(GuardedText& text, std::size_t at) : text_(&text), at_(at) {}

    char operator*() const { return static_cast<char>(text_->text_[at_]); }
    Iterator& operator++() {
      text_->take(at_++);
      return *this;
    }
    void operator++(int) { ++*this; }
    bool operator==(const Iterator& other) const { return at_ == other.at_; }

   private:
    GuardedText* text_;
    std::size_t at_;
  };

  Iterator begin() { return {*this, 0}; }
  Iterator end() { return {*this, text_.size()}; }

 private:
  void take(std::size_t at) {
    if (progress_ != nullptr && at % kBytesBetweenLooks == 0) progress_->checkpoint();
    if (text_[at] == 0) throw errors_.invalid;
    if (!meter_.accept(static_cast<char>(text_[at]))) throw errors_.tooDeep;
  }

  std::span<const std::uint8_t> text_;
  const Errors& errors_;
  const TaskProgress* progress_;
  DepthMeter meter_;
};

/// Returns the value in `file`, which is UTF-8, with or without a byte order mark. Throws as
/// `GuardedText` does, and `errors.invalid` for invalid JSON or a number beyond the range of a
/// double, such as 1e400. When the token after a fault is too deep, either error may be thrown. Of
/// equal keys the last one counts. `Json` is the library's type, which no header includes.
template <class Json>
Json parsed(std::span<const std::uint8_t> file, const Errors& errors,
            const TaskProgress* progress) {
  if (progress != nullptr) progress->checkpoint();
  GuardedText text(file, errors, progress);
  constexpr bool kThrows = false;
  Json value = Json::parse(text.begin(), text.end(), nullptr, kThrows);
  if (value.is_discarded()) throw errors.invalid;
  return value;
}

}  // namespace quillmor::BoundedJSON
