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

/// The error of wrong usage of a command, with a sentence for the user.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The arguments of a command, by the names that the help uses: "FILE", "--start". Reading a value
/// that makes no sense throws `UsageError`.
class Arguments {
 public:
  /// Adds a value; a switch such as "--backward" has an empty one. Messages use its `shownName`, as
  /// the help does ("START" of "--start"), where that is not the name itself.
  void set(std::string_view name, std::string text, std::string_view shownName = {});

  bool has(std::string_view name) const { return values_.contains(name); }

  /// Returns a value as typed; the command's description makes sure that it is there.
  const std::string& text(std::string_view name) const;

  /// Returns a value as typed; absent when none was given.
  std::optional<std::string> find(std::string_view name) const;

  /// Returns the location of a file.
  FileLocation file(std::string_view name) const;

  /// Returns the location of a document's file with all links resolved, as the editor opens it.
  FileLocation documentFile(std::string_view name) const;

  /// An offset or length of 0 or more.
  std::int64_t offset(std::string_view name) const;
  std::optional<std::int64_t> findOffset(std::string_view name) const;

  /// True if "--start" or "--length" was given.
  bool hasRange() const;

  /// Returns the range of "--start" and "--length", clipped to a document of `byteCount` bytes; all
  /// of it when neither was given.
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
