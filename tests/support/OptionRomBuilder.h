#pragma once

#include <cstdint>
#include <initializer_list>
#include <numeric>
#include <string_view>
#include <vector>

namespace quillmor::test {

/// An option ROM put together field by field. Offsets have to lie within its bytes.
class OptionRomBuilder {
 public:
  /// The signature 55 AA and zeros: `size` bytes in all, at least 2.
  explicit OptionRomBuilder(std::size_t size) : bytes_(size) { at(0, {0x55, 0xAA}); }

  OptionRomBuilder& at(std::size_t offset, std::initializer_list<int> bytes) {
    for (const int byte : bytes) bytes_.at(offset++) = static_cast<std::uint8_t>(byte);
    return *this;
  }

  OptionRomBuilder& text(std::size_t offset, std::string_view characters) {
    for (const char c : characters) bytes_.at(offset++) = static_cast<std::uint8_t>(c);
    return *this;
  }

  OptionRomBuilder& word(std::size_t offset, std::size_t value) {
    return at(offset, {static_cast<int>(value & 0xFF), static_cast<int>(value >> 8 & 0xFF)});
  }

  OptionRomBuilder& doubleWord(std::size_t offset, std::size_t value) {
    return word(offset, value).word(offset + 2, value >> 16);
  }

  // --- PCI Data Structure ---------------------------------------------------------------------

  /// Points at `offset` and puts a structure of revision 0 there: 24 bytes long, vendor 0x1002,
  /// device 0x6FDF, code type 0, an image of all whole units of 512 bytes.
  OptionRomBuilder& pcir(std::size_t offset) {
    pcir_ = offset;
    word(0x18, offset).text(offset, "PCIR").vendor(0x1002).device(0x6FDF).length(24);
    return units(bytes_.size() / 512);
  }

  OptionRomBuilder& vendor(std::size_t value) { return word(pcir_ + 0x04, value); }
  OptionRomBuilder& device(std::size_t value) { return word(pcir_ + 0x06, value); }
  OptionRomBuilder& deviceList(std::size_t value) { return word(pcir_ + 0x08, value); }
  OptionRomBuilder& length(std::size_t value) { return word(pcir_ + 0x0A, value); }
  OptionRomBuilder& revision(int value) { return at(pcir_ + 0x0C, {value}); }
  OptionRomBuilder& units(std::size_t value) { return word(pcir_ + 0x10, value); }
  OptionRomBuilder& codeType(int value) { return at(pcir_ + 0x14, {value}); }
  OptionRomBuilder& indicator(int value) { return at(pcir_ + 0x15, {value}); }
  OptionRomBuilder& maximumUnits(std::size_t value) { return word(pcir_ + 0x16, value); }
  OptionRomBuilder& configuration(std::size_t value) { return word(pcir_ + 0x18, value); }
  OptionRomBuilder& entryPoint(std::size_t value) { return word(pcir_ + 0x1A, value); }

  // --- EFI header and the PE/COFF image it points at ------------------------------------------

  /// Code type 3 and the header of an uncompressed boot service driver for x64 at `imageOffset`.
  OptionRomBuilder& efi(std::size_t imageOffset) {
    image_ = imageOffset;
    codeType(3).at(0x04, {0xF1, 0x0E, 0, 0}).word(0x16, imageOffset);
    return initializationUnits(bytes_.size() / 512).subsystem(0x000B).machine(0x8664);
  }

  OptionRomBuilder& initializationUnits(std::size_t value) { return word(0x02, value); }
  OptionRomBuilder& subsystem(std::size_t value) { return word(0x08, value); }
  OptionRomBuilder& machine(std::size_t value) { return word(0x0A, value); }
  OptionRomBuilder& compression(std::size_t value) { return word(0x0C, value); }

  /// "MZ" at the image's offset and `offset` bytes behind it the header of a PE32+ image that
  /// agrees with `efi`, with an optional header of 70 bytes.
  OptionRomBuilder& pe(std::size_t offset) {
    pe_ = image_ + offset;
    text(image_, "MZ").doubleWord(image_ + 60, offset).text(pe_, "PE");
    return peMachine(0x8664).optionalSize(70).magic(0x020B).peSubsystem(0x000B);
  }

  OptionRomBuilder& peMachine(std::size_t value) { return word(pe_ + 4, value); }
  OptionRomBuilder& optionalSize(std::size_t value) { return word(pe_ + 20, value); }
  OptionRomBuilder& magic(std::size_t value) { return word(pe_ + 24, value); }
  OptionRomBuilder& peSubsystem(std::size_t value) { return word(pe_ + 92, value); }

  // --- Polaris --------------------------------------------------------------------------------

  /// Sets the byte at `offset` so that the first `imageSize` bytes add up to `sum` modulo 256.
  OptionRomBuilder& summingTo(int sum, std::size_t imageSize, std::size_t offset) {
    const auto end = bytes_.begin() + static_cast<std::ptrdiff_t>(imageSize);
    const int others = std::accumulate(bytes_.begin(), end, 0) - bytes_.at(offset);
    return at(offset, {sum - others});
  }

  OptionRomBuilder& cutTo(std::size_t size) {
    bytes_.resize(size);
    return *this;
  }

  std::vector<std::uint8_t> bytes() const { return bytes_; }

 private:
  std::vector<std::uint8_t> bytes_;
  std::size_t pcir_ = 0;
  std::size_t image_ = 0;
  std::size_t pe_ = 0;
};

}  // namespace quillmor::test
