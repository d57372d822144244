#include "tools/export/IntelHexExporter.h"

#include <string_view>

#include "base/ByteUnits.h"
#include "base/Error.h"
#include "base/HexText.h"
#include "kernels/ByteSum.h"
#include "kernels/LineKernels.h"
#include "tools/text/TextPieces.h"

namespace quillmor::IntelHexExporter {

namespace {

constexpr std::size_t kBytesPerRecord = LineKernels::kBytesPerLine;
constexpr std::string_view kEndRecord = ":00000001FF\n";

/// The bytes that share an upper address.
constexpr std::size_t kSegmentSize = 64 * kKiB;
static_assert(kSegmentSize / kBytesPerRecord * LineKernels::kIntelHexLineLength <=
              BufferedText::kCapacity);

constexpr std::uint8_t lowByte(std::int64_t value) {
  return static_cast<std::uint8_t>(value & 0xFF);
}

/// Returns the byte that makes the sum of a record's bytes 0.
std::string_view checksumText(std::int64_t sum) {
  return uppercaseHexByteStrings[lowByte(-sum)];
}

std::string extendedLinearAddressRecord(std::int64_t address) {
  const std::uint8_t high = lowByte(address >> 24);
  const std::uint8_t low = lowByte(address >> 16);
  std::string record = ":02000004";
  record += uppercaseHexByteStrings[high];
  record += uppercaseHexByteStrings[low];
  record += checksumText(0x02 + 0x04 + high + low);
  record += '\n';
  return record;
}

/// The data records of one segment or a part of it.
void appendDataRecords(BufferedText& text, std::span<const std::uint8_t> bytes,
                       std::int64_t address) {
  const std::size_t count = bytes.size() / kBytesPerRecord;
  char* const out = text.room(count * LineKernels::kIntelHexLineLength);
  text.advance(
      fastestLineKernels().intelHex(out, bytes.data(), count, static_cast<std::uint32_t>(address)));
  const auto done = count * kBytesPerRecord;
  if (done == bytes.size()) return;
  text.append(dataLine(bytes.subspan(done), address + static_cast<std::int64_t>(done)));
}

void requireAddressable(std::span<const std::uint8_t> bytes) {
  if (bytes.size() > static_cast<std::size_t>(kMaximumByteCount))
    throw Error::quillmor(2301, "Intel HEX export supports at most 4 GiB of addressable data.");
}

}  // namespace

std::string dataLine(std::span<const std::uint8_t> bytes, std::int64_t address) {
  const std::uint8_t length = lowByte(std::ssize(bytes));
  const std::uint8_t high = lowByte(address >> 8);
  const std::uint8_t low = lowByte(address);
  std::string record = ":";
  record += uppercaseHexByteStrings[length];
  record += uppercaseHexByteStrings[high];
  record += uppercaseHexByteStrings[low];
  record += "00";
  for (const std::uint8_t byte : bytes) record += uppercaseHexByteStrings[byte];
  record += checksumText(length + high + low + byteSum(bytes));
  record += '\n';
  return record;
}

void produce(std::span<const std::uint8_t> bytes, const TextSink& sink, TaskProgress& progress) {
  requireAddressable(bytes);
  BufferedText text(sink);
  std::int64_t address = 0;
  convertInPieces(bytes, kSegmentSize, &progress, [&](std::span<const std::uint8_t> segment) {
    text.append(extendedLinearAddressRecord(address));
    appendDataRecords(text, segment, address);
    address += std::ssize(segment);
  });
  text.append(kEndRecord);
  text.flush();
}

void write(std::span<const std::uint8_t> bytes, const ExportTarget& target,
           TaskProgress& progress) {
  requireAddressable(bytes);
  writeTextFile(target, progress, [&](const TextSink& sink) { produce(bytes, sink, progress); });
}

}  // namespace quillmor::IntelHexExporter
