#include "cli/Arguments.h"

#include "base/Check.h"
#include "base/SaturatingMath.h"
#include "fileaccess/ResolvedPaths.h"
#include "search/HexParser.h"

namespace quillmor::cli {

namespace {

/// The name under which the help shows the value of an option: "START" of "--start".
std::string shownName(std::string_view name) {
  if (!name.starts_with("--")) return std::string(name);
  std::string shown;
  for (const char letter : name.substr(2))
    shown += static_cast<char>(letter >= 'a' && letter <= 'z' ? letter - 'a' + 'A' : letter);
  // The one option whose value is an offset under another name.
  return shown == "FROM" ? "OFFSET" : shown;
}

}  // namespace

const std::string& Arguments::text(std::string_view name) const {
  const auto found = values_.find(name);
  checkPrecondition(found != values_.end(), "an argument that the command requires");
  return found->second;
}

std::optional<std::string> Arguments::find(std::string_view name) const {
  const auto found = values_.find(name);
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

FileLocation Arguments::file(std::string_view name) const {
  const std::string& path = text(name);
  if (path.empty()) throw UsageError(std::string(name) + " is an empty name.");
  return FileLocation::fromPath(path);
}

FileLocation Arguments::documentFile(std::string_view name) const {
  return SecureFileAccess::realLocation(file(name));
}

std::int64_t Arguments::offset(std::string_view name) const {
  const std::string& typed = text(name);
  const auto value = HexParser::parseOffset(typed);
  if (!value) {
    throw UsageError(shownName(name) + " cannot be read: \"" + typed +
                     "\" is neither decimal, 0xHEX, HEX nor HEXh.");
  }
  if (*value < 0) throw UsageError(shownName(name) + " must be 0 or more, not " + typed + ".");
  return *value;
}

std::optional<std::int64_t> Arguments::findOffset(std::string_view name) const {
  if (!has(name)) return std::nullopt;
  return offset(name);
}

bool Arguments::hasRange() const {
  return has("--start") || has("--length");
}

HexSelection Arguments::range(std::int64_t byteCount) const {
  const HexSelection asked{findOffset("--start").value_or(0),
                           findOffset("--length").value_or(kMaxInt64)};
  return asked.normalized(byteCount);
}

}  // namespace quillmor::cli
