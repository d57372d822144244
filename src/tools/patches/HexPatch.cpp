#include "tools/patches/HexPatch.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>

#include "base/ByteBuffer.h"
#include "base/HexText.h"
#include "base/Unicode.h"
#include "kernels/SpacedHexKernel.h"
#include "search/typed/HexParser.h"
#include "tools/patches/LimitedFile.h"
#include "tools/text/StoppableText.h"
#include "tools/text/TextPieces.h"

namespace quillmor {

namespace {

constexpr std::string_view kHeader = "QuillmorPatch 1";
constexpr std::string_view kOffsetKey = "OFFSET";
constexpr std::string_view kDataKey = "DATA";

/// The pieces that line feeds may divide a patch into.
constexpr std::size_t kMaximumLines = 4;

/// The characters of the longest text that `HexParser::parseOffset` takes.
constexpr std::size_t kLongestOffset = 128;

/// The bytes that are converted at a time.
constexpr std::size_t kPieceSize = 4096;

constexpr std::string_view kDigits = "0123456789ABCDEF";

// --- reading ----------------------------------------------------------------------------------

std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  for (auto end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
    lines.push_back(text.substr(0, end));
    if (lines.size() == kMaximumLines) {
      throw Error::quillmor(2503, "Patch contains more lines than the supported format.");
    }
    text.remove_prefix(end + 1);
  }
  lines.push_back(text);
  return lines;
}

/// Whether `text` is `upperCase` in any ASCII case.
bool isKey(std::string_view text, std::string_view upperCase) {
  const auto equal = [](char a, char upper) {
    return a == upper || (a >= 'a' && a <= 'z' && a - 'a' + 'A' == upper);
  };
  return std::ranges::equal(text, upperCase, equal);
}

/// The start of `line` up to the first white space, or one character more than the longest key has.
std::string_view keyOf(std::string_view line) {
  std::size_t length = 0;
  for (std::size_t i = 0; i <= kOffsetKey.size() && length < line.size(); ++i) {
    const Unicode::DecodedScalar next = Unicode::decodeFirst(line.substr(length));
    if (Unicode::isWhiteSpace(next.scalar)) break;
    length += next.length;
  }
  return line.substr(0, length);
}

/// The contents of the lines after the first.
struct Fields {
  std::vector<std::string_view> offsets;
  std::vector<std::string_view> data;
  bool hasBlankLine = false;  ///< one of white space, which is neither a field nor empty

  void read(std::string_view line, const TaskProgress* progress) {
    // A line may end in CR LF.
    if (line.empty() || line == "\r") return;
    line = trimmedOfWhiteSpace(line, progress);
    if (line.empty()) {
      hasBlankLine = true;
      return;
    }
    const std::string_view key = keyOf(line);
    valuesOf(key).push_back(trimmedOfWhiteSpace(line.substr(key.size()), progress));
  }

 private:
  std::vector<std::string_view>& valuesOf(std::string_view key) {
    if (isKey(key, kOffsetKey)) return offsets;
    if (isKey(key, kDataKey)) return data;
    throw Error::quillmor(2505, "Patch contains an unsupported field.");
  }
};

Fields fieldsOf(std::string_view text, const TaskProgress* progress) {
  const std::vector<std::string_view> lines = linesOf(text);
  if (trimmedOfWhiteSpace(lines.front(), progress) != kHeader) {
    throw Error::quillmor(2504, "Invalid or unsupported Quillmor patch header.");
  }
  Fields fields;
  for (std::size_t i = 1; i < lines.size(); ++i) fields.read(lines[i], progress);
  return fields;
}

std::int64_t offsetOf(const Fields& fields) {
  // A longer text is not searched, because nothing could stop that.
  const bool isOne = fields.offsets.size() == 1 && fields.offsets[0].size() <= kLongestOffset;
  const auto offset = isOne ? HexParser::parseOffset(fields.offsets[0]) : std::nullopt;
  if (!offset || *offset < 0) {
    throw Error::quillmor(2506, "Patch must contain exactly one valid OFFSET field.");
  }
  return *offset;
}

std::vector<std::uint8_t> dataOf(const Fields& fields, std::int64_t maxDataBytes,
                                 const TaskProgress* progress) {
  auto data = fields.data.size() == 1
                  ? HexParser::parseHexBytes(fields.data[0], maxDataBytes, {}, progress)
                  : std::nullopt;
  if (!data) throw Error::quillmor(2507, "Patch must contain exactly one non-empty DATA field.");
  return *std::move(data);
}

}  // namespace

QuillmorPatch QuillmorPatch::read(const FileLocation& location, std::int64_t maxFileBytes,
                                  std::int64_t maxDataBytes, TaskProgress& progress) {
  const ByteBuffer file =
      readLimitedFile(location, maxFileBytes,
                      Error::quillmor(2501, "Patch file is too large to import safely."), progress);
  return parse(file.span(), maxDataBytes, &progress);
}

QuillmorPatch QuillmorPatch::parse(std::span<const std::uint8_t> file, std::int64_t maxDataBytes,
                                   const TaskProgress* progress) {
  if (progress != nullptr) progress->checkpoint();
  const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
  if (!isValidUtf8(text, progress)) {
    throw Error::quillmor(2502, "Patch file is not valid UTF-8 text.");
  }
  const Fields fields = fieldsOf(text, progress);
  QuillmorPatch patch{offsetOf(fields), dataOf(fields, maxDataBytes, progress)};
  if (fields.hasBlankLine) throw Error::quillmor(2508, "Invalid Quillmor patch file.");
  return patch;
}

// --- writing ----------------------------------------------------------------------------------

void produceHexPatch(std::span<const std::uint8_t> bytes, std::int64_t offset, const TextSink& sink,
                     TaskProgress& progress) {
  BufferedText text(sink);
  text.append(std::string(kHeader) + "\n" + std::string(kOffsetKey) + " " + offsetText(offset) +
              "\n" + std::string(kDataKey) + " ");
  if (bytes.empty()) text.append("\n");
  std::size_t left = bytes.size();
  convertInPieces(bytes, kPieceSize, &progress, [&](std::span<const std::uint8_t> piece) {
    char* const end =
        fastestSpacedHexKernel().write(text.room(3 * piece.size()), piece, kDigits, ' ');
    left -= piece.size();
    if (left == 0) end[-1] = '\n';
    text.advance(end);
  });
  text.flush();
}

void writeHexPatch(std::span<const std::uint8_t> bytes, std::int64_t offset,
                   const ExportTarget& target, TaskProgress& progress) {
  writeTextFile(target, progress,
                [&](const TextSink& sink) { produceHexPatch(bytes, offset, sink, progress); });
}

}  // namespace quillmor
