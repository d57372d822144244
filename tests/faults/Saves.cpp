// The changes that are made under faults.

#include <map>
#include <string>

#include "faults/SaveUnderFaults.h"
#include "support/RandomBytes.h"

namespace quillmor::test {

namespace {

/// Bytes without the one that is searched for, which stands first, in the middle and last.
std::string bytesWithMarks(std::int64_t size) {
  constexpr std::uint64_t kSeed = 20;
  const auto random = randomBytes(static_cast<std::size_t>(size), kSeed);
  std::string bytes(random.begin(), random.end());
  for (char& byte : bytes) byte = byte == 'A' ? 'a' : byte;
  bytes.front() = bytes[bytes.size() / 2] = bytes.back() = 'A';
  return bytes;
}

std::string replaced(const std::string& bytes, const std::string& replacement) {
  std::string result;
  for (const char byte : bytes) byte == 'A' ? result += replacement : result += byte;
  return result;
}

std::string sizeName(std::int64_t size) {
  return size % kOneMiB == 0 ? std::to_string(size / kOneMiB) + "MiB" : std::to_string(size);
}

Save replacingSave(std::int64_t size, const std::string& hex, const std::string& replacement) {
  const std::string old = bytesWithMarks(size);
  return {.oldBytes = old,
          .newBytes = replaced(old, replacement),
          .command = {"replace", "--mode", "hex"},
          .operands = {"41", hex}};
}

Save equalSave(std::int64_t size) {
  const std::string old = bytesWithMarks(size);
  std::string inverted = old;
  for (char& byte : inverted) byte = static_cast<char>(~byte);
  return {
      .oldBytes = old, .newBytes = inverted, .command = {"transform", "invert"}, .operands = {}};
}

Save patchSave(std::int64_t size) {
  const std::string old = bytesWithMarks(size);
  std::string changed = old;
  changed.back() = 'z';
  return {.oldBytes = old,
          .newBytes = changed,
          .command = {"patch-apply"},
          .operands = {},
          .patch = "QuillmorPatch 1\nOFFSET " + std::to_string(size - 1) + "\nDATA 7A\n"};
}

}  // namespace

Save SaveChoice::make() const {
  switch (change) {
    case Change::longer:
      return replacingSave(size, "42 43 44 45 46", "BCDEF");
    case Change::shorter:
      return replacingSave(size, "", "");
    case Change::patched:
      return patchSave(size);
    case Change::equal:
      break;
  }
  return equalSave(size);
}

std::string SaveChoice::name() const {
  const std::map<Change, std::string> names = {{Change::equal, "Equal"},
                                               {Change::longer, "Longer"},
                                               {Change::shorter, size == 1 ? "Emptied" : "Shorter"},
                                               {Change::patched, "Patched"}};
  return names.at(change) + sizeName(size);
}

void PrintTo(const SaveChoice& choice, std::ostream* out) {
  *out << choice.name();
}

std::vector<SaveChoice> allChanges(const std::vector<std::int64_t>& sizes) {
  std::vector<SaveChoice> all;
  for (const std::int64_t size : sizes)
    for (const Change change : {Change::equal, Change::longer, Change::shorter, Change::patched})
      all.push_back({change, size});
  return all;
}

}  // namespace quillmor::test
