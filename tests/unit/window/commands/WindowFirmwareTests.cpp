// Firmware checksums and the presets for graphics cards, as a user meets them.

#include <optional>
#include <string>

#include "support/MemoryProbes.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

constexpr const char* kBusy =
    "Another operation is already running. Wait for it to finish before editing.";

void set(std::string& bytes, std::size_t offset, std::string_view with) {
  bytes.replace(offset, with.size(), with);
}

class WindowAcpi : public WindowFixture {
 protected:
  /// A table of 36 bytes whose checksum byte is `checksum`; all of them add up to 0 with 0xAD.
  static std::string table(char checksum) {
    std::string bytes(36, '\0');
    set(bytes, 0, "DSDT");
    bytes[4] = 36;
    bytes[9] = checksum;
    return bytes;
  }
  static constexpr char kValid =
      static_cast<char>(0x100 - ((0x44 + 0x53 + 0x44 + 0x54 + 36) & 0xFF));

  void run(const EditorUnderTest& editor, const char* action, const char* statusText) {
    editor->perform(action);
    EXPECT_TRUE(editor->isBusy());
    EXPECT_EQ(editor.window->statusText, statusText);
    platform.executor.runAll();
  }
  void validate(const EditorUnderTest& editor) {
    run(editor, "forwardValidateACPIChecksum:", "Validating ACPI checksum…");
  }
  void fix(const EditorUnderTest& editor) {
    run(editor, "forwardFixACPIChecksum:", "Fixing ACPI checksum…");
  }
};

TEST_F(WindowAcpi, saysWhetherAChecksumIsValid) {
  auto valid = makeEditor(table(kValid));
  platform.alerts.expect("ACPI Checksum",
                         "Checksum is valid.\n\nSignature: DSDT\nLength: 36 bytes\nChecksum byte: "
                         "0xAD\nSum: 0x00");
  validate(valid);
  auto invalid = makeEditor(table(0x10));
  platform.alerts.expect("ACPI Checksum",
                         "Checksum is invalid.\n\nSignature: DSDT\nLength: 36 bytes\nChecksum "
                         "byte: 0x10\nSum: 0x63");
  validate(invalid);
  EXPECT_FALSE(invalid.document->isDocumentEdited());
}

TEST_F(WindowAcpi, fixesAChecksumAsOneUndoableStep) {
  auto editor = makeEditor(table(0x10));
  platform.alerts.expect("ACPI Checksum", "Checksum byte updated: 0x10 -> 0xAD");
  fix(editor);
  EXPECT_EQ(editor.text(), table(kValid));
  EXPECT_EQ(editor.editor().caretOffset(), 9);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{9, 1}));
  EXPECT_EQ(editor.document->undoManager().undoActionName(), "Fix ACPI Checksum");
  EXPECT_TRUE(editor.document->isDocumentEdited());
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), table(0x10));
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowAcpi, leavesAValidChecksumAlone) {
  auto editor = makeEditor(table(kValid));
  platform.alerts.expect("ACPI Checksum", "Checksum is already valid: 0xAD");
  fix(editor);
  EXPECT_FALSE(editor.document->isDocumentEdited());
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowAcpi, refusesWhatHasNoSuchChecksum) {
  auto facs = makeEditor("FACS");
  platform.alerts.expect("ACPI Checksum",
                         "FACS uses the Firmware ACPI Control Structure layout and does not define "
                         "the standard ACPI System Description Table checksum byte.");
  validate(facs);
  platform.alerts.expect("ACPI Checksum Failed",
                         "FACS does not have the standard ACPI System Description Table checksum "
                         "byte. No data was modified.");
  fix(facs);
  auto other = makeEditor("no table");
  for (int i = 0; i < 2; ++i)
    platform.alerts.expect("ACPI Checksum Failed",
                           "This does not look like a valid ACPI System Description Table header.");
  validate(other);
  fix(other);
}

TEST_F(WindowAcpi, looksAtTheLengthAgainBeforeItWrites) {
  auto editor = makeEditor(table(0x10));
  editor->perform("forwardFixACPIChecksum:");
  editor.document->storage()->bytes.truncate(9);
  platform.alerts.expect("ACPI Checksum", "The document is too small to update the checksum byte.");
  platform.executor.runAll();
  EXPECT_EQ(editor.document->storage()->count(), 9);
}

TEST_F(WindowAcpi, waitsForARunningOperation) {
  auto editor = makeEditor(table(0x10));
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  platform.alerts.expect("Fix ACPI Checksum", kBusy);
  editor->perform("forwardFixACPIChecksum:");
  busy.end();
}

TEST_F(WindowAcpi, isSilentWhenTheWindowClosesMeanwhile) {
  auto editor = makeEditor(table(0x10));
  editor->perform("forwardFixACPIChecksum:");
  editor.window->closeWindow();
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), table(0x10));
}

class WindowPolaris : public WindowFixture {
 protected:
  static constexpr const char* kFixTitle = "Fix Polaris Checksum";
  static constexpr const char* kAboutFix =
      "This updates the AMD/Polaris PCI option ROM checksum byte at offset 0x21 so the first ROM "
      "image checksum becomes valid.\n\nIt only changes the opened document buffer and does not "
      "flash anything. Save a backup before saving or flashing any edited ROM.";
  static constexpr const char* kPresetTitle = "Apply Preset: Rx580 macOS";
  static constexpr const char* kPresetAndFixTitle = "Apply Preset: Rx580 macOS + Fix Checksum";
  static constexpr const char* kAboutPreset =
      "This preset applies the RX580 2048SP to RX580 macOS VBIOS byte changes to the current "
      "document only.\n\nIt does not flash the GPU BIOS. Use Presets > Fix Polaris Checksum after "
      "this step if you want the checksum fix inside Quillmor. Save a backup before saving or "
      "flashing any edited ROM.";
  static constexpr const char* kAboutPresetAndFix =
      "This preset applies the RX580 2048SP to RX580 macOS VBIOS byte changes and then fixes the "
      "AMD/Polaris checksum byte at offset 0x21.\n\nIt only changes the current document buffer "
      "and does not flash the GPU BIOS. Save a backup before saving or flashing any edited ROM.";
  static constexpr const char* kPostStep =
      "\n\nPost-step: run Presets > Fix Polaris Checksum before any flash attempt, or validate/fix "
      "the VBIOS checksum with a proper Polaris BIOS tool.";
  static constexpr const char* kTooSmall =
      "The file is too small to contain a valid PCI option ROM header.";

  /// An image of 512 bytes whose sum is 0 when the byte at 0x21 is 0x67.
  static std::string rom() {
    std::string bytes(512, '\0');
    set(bytes, 0, "\x55\xAA\x01");
    set(bytes, 0x18, std::string("\x40\x00", 2));
    set(bytes, 0x40, "PCIR");
    set(bytes, 0x44, "\x02\x10");
    set(bytes, 0x4A, "\x18");
    set(bytes, 0x50, "\x01");
    unsigned sum = 0;
    for (const char byte : bytes) sum += static_cast<unsigned char>(byte);
    bytes[0x21] = static_cast<char>(0x100 - (sum & 0xFF));
    return bytes;
  }
  static constexpr std::size_t kRule1 = 0x100;
  static constexpr std::size_t kRule2 = 0x120;
  static std::string romForPreset() {
    std::string bytes = rom();
    set(bytes, kRule1, "\xF0\xFD\xE6\x0F");
    set(bytes, kRule2, "\x02\x10\xDF\x6F");
    return bytes;
  }

  void fix(const EditorUnderTest& editor, const char* button = "Fix") {
    platform.alerts.expect(kFixTitle, kAboutFix, button);
    const std::string result = expectedResult_;
    if (!result.empty()) platform.alerts.expect(kFixTitle, result);
    editor->perform("forwardFixPolarisChecksum:");
  }
  std::string expectedResult_;
};

TEST_F(WindowPolaris, validatesAChecksum) {
  auto editor = makeEditor(rom());
  platform.alerts.expect("Validate Polaris Checksum",
                         "Checksum is valid.\nROM image size: 512 bytes\nChecksum byte at 0x21: "
                         "0x67\nImage checksum sum: 0x00");
  editor->perform("forwardValidatePolarisChecksum:");
  std::string broken = rom();
  broken[0x21] = 0x6C;
  auto other = makeEditor(broken);
  platform.alerts.expect(
      "Validate Polaris Checksum",
      "Checksum is invalid. Use Presets > Fix Polaris Checksum to correct it.\nROM image size: 512 "
      "bytes\nChecksum byte at 0x21: 0x6C\nImage checksum sum: 0x05");
  other->perform("forwardValidatePolarisChecksum:");
  EXPECT_FALSE(other.document->isDocumentEdited());
}

TEST_F(WindowPolaris, validatesEvenWhileBusy) {
  auto editor = makeEditor("small");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  platform.alerts.expect("Validate Polaris Checksum", kTooSmall);
  editor->perform("forwardValidatePolarisChecksum:");
  busy.end();
}

TEST_F(WindowPolaris, fixesAChecksumAsOneUndoableStep) {
  std::string broken = rom();
  broken[0x21] = 0x6C;
  auto editor = makeEditor(broken);
  expectedResult_ =
      "Polaris checksum: Checksum fixed.\nROM image size: 512 bytes\nChecksum offset: "
      "0x00000021\nOld checksum byte: 0x6C\nNew checksum byte: 0x67\nSum before: 0x05\nSum after: "
      "0x00";
  fix(editor);
  EXPECT_EQ(platform.alerts.shown()[0].style, AlertStyle::warning);
  EXPECT_EQ(platform.alerts.shown()[0].buttons, (std::vector<std::string>{"Fix", "Cancel"}));
  EXPECT_EQ(editor.text(), rom());
  EXPECT_EQ(editor.editor().caretOffset(), 0x21);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{0x21, 1}));
  EXPECT_EQ(editor.document->undoManager().undoActionName(), kFixTitle);
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), broken);
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowPolaris, selectsAChecksumThatNeedsNoFix) {
  auto editor = makeEditor(rom());
  expectedResult_ =
      "Polaris checksum: Checksum already valid; no byte change was needed.\nROM image size: 512 "
      "bytes\nChecksum offset: 0x00000021\nOld checksum byte: 0x67\nNew checksum byte: 0x67\nSum "
      "before: 0x00\nSum after: 0x00";
  fix(editor);
  EXPECT_FALSE(editor.document->isDocumentEdited());
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_EQ(editor.editor().caretOffset(), 0x21);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{0x21, 1}));
}

TEST_F(WindowPolaris, asksBeforeItFixes) {
  auto editor = makeEditor("not even a ROM");
  fix(editor, "Cancel");
  expectedResult_ = kTooSmall;
  fix(editor);
  EXPECT_EQ(editor.text(), "not even a ROM");
}

TEST_F(WindowPolaris, appliesThePresetAsOneUndoableStep) {
  auto editor = makeEditor(romForPreset());
  platform.alerts.expect(kPresetTitle, kAboutPreset, "Apply");
  platform.alerts.expect(
      kPresetTitle, std::string("RX580 2048SP signature to RX580: 1 replacement(s)\nDevice ID "
                                "0x6FDF to 0x67DF: 1 replacement(s)\n\nTotal: 2 replacement(s)") +
                        kPostStep);
  editor->perform("forwardApplyRx580MacOSPreset:");
  EXPECT_EQ(platform.alerts.shown()[0].style, AlertStyle::warning);
  EXPECT_EQ(platform.alerts.shown()[0].buttons, (std::vector<std::string>{"Apply", "Cancel"}));
  std::string expected = romForPreset();
  set(expected, kRule1, "\xF0\x7D\xE6\x07");
  set(expected, kRule2, "\x02\x10\xDF\x67");
  EXPECT_EQ(editor.text(), expected);
  EXPECT_EQ(editor.editor().caretOffset(), 0x100);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{0x100, 4}));
  EXPECT_EQ(editor.document->undoManager().undoActionName(), "Rx580 macOS Preset");
  EXPECT_EQ(platform.beeper.count, 0);
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), romForPreset());
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowPolaris, appliesThePresetAndFixesTheChecksumInTwoSteps) {
  auto editor = makeEditor(romForPreset());
  platform.alerts.expect(kPresetAndFixTitle, kAboutPresetAndFix, "Apply");
  std::string patched = romForPreset();
  set(patched, kRule1, "\xF0\x7D\xE6\x07");
  set(patched, kRule2, "\x02\x10\xDF\x67");
  unsigned sum = 0;
  for (const char byte : patched) sum += static_cast<unsigned char>(byte);
  ASSERT_EQ(sum & 0xFF, 0xB2U);
  platform.alerts.expect(
      kPresetAndFixTitle,
      "RX580 2048SP signature to RX580: 1 replacement(s)\nDevice ID 0x6FDF to 0x67DF: 1 "
      "replacement(s)\n\nTotal: 2 replacement(s)\n\nPolaris checksum: Checksum fixed.\nROM image "
      "size: 512 bytes\nChecksum offset: 0x00000021\nOld checksum byte: 0x67\nNew checksum byte: "
      "0xB5\nSum before: 0xB2\nSum after: 0x00");
  editor->perform("forwardApplyRx580MacOSPresetAndFixChecksum:");
  patched[0x21] = static_cast<char>(0xB5);
  EXPECT_EQ(editor.text(), patched);
  EXPECT_EQ(editor.document->undoManager().undoActionName(), kFixTitle);
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.document->undoManager().undoActionName(), "Rx580 macOS Preset");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), romForPreset());
}

TEST_F(WindowPolaris, beepsWhenThePresetFindsNothing) {
  auto editor = makeEditor(rom());
  platform.alerts.expect(kPresetTitle, kAboutPreset, "Apply");
  platform.alerts.expect(
      kPresetTitle, std::string("RX580 2048SP signature to RX580: 0 replacement(s)\nDevice ID "
                                "0x6FDF to 0x67DF: 0 replacement(s)\n\nTotal: 0 replacement(s)") +
                        kPostStep);
  editor->perform("forwardApplyRx580MacOSPreset:");
  EXPECT_EQ(platform.beeper.count, 1);
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowPolaris, fixesTheChecksumEvenWhereThePresetFindsNothing) {
  std::string broken = rom();
  broken[0x21] = 0x6C;
  auto editor = makeEditor(broken);
  platform.alerts.expect(kPresetAndFixTitle, kAboutPresetAndFix, "Apply");
  platform.alerts.expect(
      kPresetAndFixTitle,
      "RX580 2048SP signature to RX580: 0 replacement(s)\nDevice ID 0x6FDF to 0x67DF: 0 "
      "replacement(s)\n\nTotal: 0 replacement(s)\n\nPolaris checksum: Checksum fixed.\nROM image "
      "size: 512 bytes\nChecksum offset: 0x00000021\nOld checksum byte: 0x6C\nNew checksum byte: "
      "0x67\nSum before: 0x05\nSum after: 0x00");
  editor->perform("forwardApplyRx580MacOSPresetAndFixChecksum:");
  EXPECT_EQ(editor.text(), rom());
  EXPECT_EQ(platform.beeper.count, 0);
}

TEST_F(WindowPolaris, showsTheResultOfAPresetThatWasNotValid) {
  auto editor = makeEditor("small");
  platform.alerts.expect(kPresetTitle, kAboutPreset, "Apply");
  platform.alerts.expect(kPresetTitle, kTooSmall);
  platform.alerts.expect(
      kPresetTitle,
      std::string("Preset validation failed.\n\nTotal: 0 replacement(s)") + kPostStep);
  editor->perform("forwardApplyRx580MacOSPreset:");
  EXPECT_EQ(platform.beeper.count, 1);
  platform.alerts.expect(kPresetAndFixTitle, kAboutPresetAndFix, "Apply");
  platform.alerts.expect(kPresetTitle, kTooSmall);
  platform.alerts.expect(kFixTitle, kTooSmall);
  platform.alerts.expect(kPresetAndFixTitle,
                         "Preset validation failed.\n\nTotal: 0 replacement(s)");
  editor->perform("forwardApplyRx580MacOSPresetAndFixChecksum:");
  EXPECT_EQ(editor.text(), "small");
}

TEST_F(WindowPolaris, asksBeforeItAppliesThePreset) {
  auto editor = makeEditor(romForPreset());
  platform.alerts.expect(kPresetTitle, kAboutPreset, "Cancel");
  editor->perform("forwardApplyRx580MacOSPreset:");
  platform.alerts.expect(kPresetAndFixTitle, kAboutPresetAndFix, "Cancel");
  editor->perform("forwardApplyRx580MacOSPresetAndFixChecksum:");
  EXPECT_EQ(editor.text(), romForPreset());
}

TEST_F(WindowPolaris, forgetsTheHistoryWhenNoUndoIsRecorded) {
  auto editor = makeEditor(romForPreset());
  editor.editor().setCaretOffset(0x180);
  typeHex(editor, "11");
  ASSERT_TRUE(editor.document->undoManager().canUndo());
  editor.document->undoManager().disableUndoRegistration();
  platform.alerts.expect(kPresetTitle, kAboutPreset, "Apply");
  platform.alerts.expect(
      kPresetTitle, std::string("RX580 2048SP signature to RX580: 1 replacement(s)\nDevice ID "
                                "0x6FDF to 0x67DF: 1 replacement(s)\n\nTotal: 2 replacement(s)") +
                        kPostStep);
  editor->perform("forwardApplyRx580MacOSPreset:");
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_TRUE(editor.document->isDocumentEdited());
}

TEST_F(WindowPolaris, waitsForARunningOperation) {
  auto editor = makeEditor(romForPreset());
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  platform.alerts.expect(kFixTitle, kBusy);
  editor->perform("forwardFixPolarisChecksum:");
  for (int i = 0; i < 2; ++i) platform.alerts.expect("Apply Preset", kBusy);
  editor->perform("forwardApplyRx580MacOSPreset:");
  editor->perform("forwardApplyRx580MacOSPresetAndFixChecksum:");
  busy.end();
}

TEST_F(WindowPolaris, waitsForAnOperationThatBeganDuringTheQuestion) {
  auto editor = makeEditor(romForPreset());
  BusyScope busy;
  const auto begin = [&] {
    busy = editor->context().frame().beginBusyStatus("Working…");
    ASSERT_TRUE(busy);
  };
  platform.alerts.expect(kFixTitle, kAboutFix, "Fix");
  platform.alerts.expect(kFixTitle, kBusy);
  platform.alerts.duringNext(begin);
  editor->perform("forwardFixPolarisChecksum:");
  busy.end();
  platform.alerts.expect(kPresetTitle, kAboutPreset, "Apply");
  platform.alerts.expect("Apply Preset", kBusy);
  platform.alerts.duringNext(begin);
  editor->perform("forwardApplyRx580MacOSPreset:");
  busy.end();
  EXPECT_EQ(editor.text(), romForPreset());
}

TEST_F(WindowPolaris, goesOnOnlyInAWindowThatIsStillThere) {
  auto editor = makeEditor("small");
  platform.alerts.expect(kPresetAndFixTitle, kAboutPresetAndFix, "Apply");
  // The alert about the ROM is the second one, so the first one sets the trap.
  platform.alerts.duringNext(
      [&] { platform.alerts.duringNext([&] { editor.window->closeWindow(); }); });
  platform.alerts.expect(kPresetTitle, kTooSmall);
  editor->perform("forwardApplyRx580MacOSPresetAndFixChecksum:");
  EXPECT_EQ(platform.beeper.count, 0);
}

TEST_F(WindowPolaris, changesNothingWithoutMemory) {
  std::string content = romForPreset() + std::string(4 << 20, 'x');
  content[0x21] = 0x6C;
  auto editor = makeEditor(content);
  // Bytes that are shared are copied before they change.
  const ByteBuffer shared = editor.document->data();
  std::optional<NoMoreAddressSpace> none;
  const auto takeMemoryAway = [&] { none.emplace(); };
  platform.alerts.expect(kFixTitle, kAboutFix, "Fix");
  platform.alerts.duringNext(takeMemoryAway);
  platform.alerts.expect("Fix Polaris Checksum Failed", "Cannot allocate memory");
  editor->perform("forwardFixPolarisChecksum:");
  none.reset();
  platform.alerts.expect(kPresetTitle, kAboutPreset, "Apply");
  platform.alerts.duringNext(takeMemoryAway);
  platform.alerts.expect("Apply Preset: Rx580 macOS Failed", "Cannot allocate memory");
  editor->perform("forwardApplyRx580MacOSPreset:");
  none.reset();
  EXPECT_TRUE(editor.text() == content);
  EXPECT_FALSE(editor.document->isDocumentEdited());
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowAcpi, changesNothingWithoutMemory) {
  const std::string content = table(0x10) + std::string(4 << 20, 'x');
  auto editor = makeEditor(content);
  const ByteBuffer shared = editor.document->data();
  editor->perform("forwardFixACPIChecksum:");
  platform.executor.runOneWork();
  {
    const NoMoreAddressSpace none;
    platform.alerts.expect("ACPI Checksum Failed", "Cannot allocate memory");
    platform.executor.runAll();
  }
  EXPECT_TRUE(editor.text() == content);
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowPolaris, changesNothingInAWindowThatClosedDuringTheQuestion) {
  auto editor = makeEditor(romForPreset());
  platform.alerts.expect(kPresetTitle, kAboutPreset, "Apply");
  platform.alerts.duringNext([&] { editor.window->closeWindow(); });
  editor->perform("forwardApplyRx580MacOSPreset:");
  EXPECT_EQ(editor.text(), romForPreset());
}

}  // namespace
}  // namespace quillmor::test
