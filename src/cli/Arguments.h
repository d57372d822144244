#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "base/FileLocation.h"
#include "document/HexSelection.h"

namespace quillmor::cli {

/// Wrong usage of a command, with a sentence for the user.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What a user gave a command, by the names the help uses: "FILE", "--start". Reading a value that
/// does not make sense throws `UsageError`.
class Arguments {
 public:
  /// A value that was given; a switch such as "--backward" has an empty one. Messages call it by
  /// its `shownName`, as the help does ("START" of "--start"), where that is not the name itself.
  void set(std::string_view name, std::string text, std::string_view shownName = {});

  bool has(std::string_view name) const { return values_.contains(name); }

  /// A value as typed; the command's description sees to it that it is there.
  const std::string& text(std::string_view name) const;

  /// A value as typed; absent when none was given.
  std::optional<std::string> find(std::string_view name) const;

  /// The place of a file.
  FileLocation file(std::string_view name) const;

  /// The place of a file that is a document: behind all links, as the editor opens it.
  FileLocation documentFile(std::string_view name) const;

  /// An offset or length of 0 or more.
  std::int64_t offset(std::string_view name) const;
  std::optional<std::int64_t> findOffset(std::string_view name) const;

  /// Whether "--start" or "--length" was given.
  bool hasRange() const;

  /// The range of "--start" and "--length", clipped to a document of `byteCount` bytes; all of it
  /// when neither was given.
  HexSelection range(std::int64_t byteCount) const;

 private:
  struct Value {
    std::string shownName;
    std::string text;
  };

  const Value& value(std::string_view name) const;

  std::map<std::string, Value, std::less<>> values_;
};

}  // namespace quillmor::cli
