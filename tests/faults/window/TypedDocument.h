#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace quillmor::test {

/// A document into which digits are typed from its beginning, in turns over and between its bytes,
/// in an order that a seed gives; and what it holds after each of them.
class TypedDocument {
 public:
  TypedDocument(std::string bytes, std::uint64_t seed);

  /// The keys to press next: one digit, and before it maybe the key that changes the mode.
  std::vector<std::string> next();

  /// How many digits have been typed.
  std::int64_t count() const { return static_cast<std::int64_t>(states_.size()) - 1; }
  /// The document after so many of them.
  const std::string& after(std::int64_t count) const {
    return states_[static_cast<std::size_t>(count)];
  }
  /// The most digits after which the document is `bytes`; none when it never was.
  std::optional<std::int64_t> countIn(const std::string& bytes) const;

 private:
  std::mt19937_64 random_;
  std::vector<std::string> states_;
  bool inserts_ = false;
};

}  // namespace quillmor::test
