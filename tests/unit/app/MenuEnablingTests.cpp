#include "app/MenuEnabling.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "app/MainMenu.h"

namespace quillmor {
namespace {

/// Every item and what enables it while no text view has the focus. "idle" is a controller that is
/// not busy; all words after it mean an idle controller and one thing more.
constexpr std::string_view kRules = R"(
About Quillmor | always
Preferences… | always
Quit Quillmor | always
New | always
Open… | open
Save | idle
Save As… | idle
Revert | file
Reload from Disk | file
Reveal in Finder | file
Copy File Path | file
Create Backup Copy… | idle
Save Atomic Backup… | idle
Export Selection… | bytes
Export Selection Hex Dump… | bytes
Export Intel HEX… | idle
Export Hex Dump… | idle
Export Difference Report… | idle
Export Hex Patch… | bytes
Apply Hex Patch… | idle
Close | always
Undo | undo
Redo | redo
Cut | idle
Copy | bytes
Paste | idle
Delete | idle
Copy as Hex | bytes
Copy as C Array | bytes
Copy as Swift Array | bytes
Copy as Base64 | bytes
Copy as Python Bytes | bytes
Copy as JSON Byte Array | bytes
Copy Current Offset | bytes
Copy Selection Range | bytes
Select All | bytes
Select Range… | bytes
Find… | bytes
Replace… | bytes
Find Next | bytes
Find Previous | bytes
Find Wildcard/Mask… | bytes
Go to Offset… | bytes
Go to Start | bytes
Go to End | bytes
Bytes per Row: 8 | idle
Bytes per Row: 16 | idle
Bytes per Row: 32 | idle
Toggle Insert Mode | idle
Byte Frequency | idle
Checksums | idle
Insert Bytes… | idle
Insert File at Offset… | idle
Append File to End… | idle
Crop to Selection | selection
Fill Selection… | idle
Fill Selection with 00 | selection
Fill Selection with FF | selection
Invert Selection | selection
Reverse Selection | selection
Swap Selection 16-bit Endian | selection
Swap Selection 32-bit Endian | selection
XOR Selection… | selection
AND Selection… | selection
OR Selection… | selection
Compare With File… | idle
Export ASCII Strings… | idle
Selection Statistics | idle
File Information | idle
Data Inspector Detail | bytes
Edit Current Value… | bytes
Bit Editor… | bytes
Open Compare Window… | idle
Entropy Map… | idle
File Structure Detector | idle
Strings Viewer | idle
Checksum Range… | idle
PCI ROM Info | idle
Validate ACPI Checksum | bytes
Fix ACPI Checksum | bytes
Add Bookmark | idle
Next Bookmark | bookmarks
Previous Bookmark | bookmarks
Show Bookmarks | bookmarks
Export Bookmarks… | bookmarks
Import Bookmarks… | idle
Restore Last Session Offset | idle
Clear Bookmarks | bookmarks
Rx580 macOS | bytes
Rx580 macOS + Fix Checksum | bytes
Validate Polaris Checksum | bytes
Fix Polaris Checksum | bytes
Dry Run JSON Preset… | idle
Apply JSON Preset… | idle
)";

std::map<std::string, std::string> rulesByTitle() {
  std::map<std::string, std::string> rules;
  std::istringstream in{std::string(kRules)};
  for (std::string line; std::getline(in, line);) {
    const auto bar = line.find(" | ");
    if (bar != std::string::npos) rules.emplace(line.substr(0, bar), line.substr(bar + 3));
  }
  return rules;
}

bool isExpected(const std::string& rule, const EnablingContext& c) {
  const bool isIdle = c.hasController && !c.isBusy;
  if (rule == "always") return true;
  if (rule == "open") return !c.hasController || isIdle;
  if (rule == "idle") return isIdle;
  if (rule == "file") return isIdle && c.hasFile;
  if (rule == "undo") return isIdle && c.canUndo;
  if (rule == "redo") return isIdle && c.canRedo;
  if (rule == "bookmarks") return isIdle && c.hasBookmarks;
  if (rule == "selection") return isIdle && c.hasSelection;
  if (rule == "bytes") return isIdle && c.hasBytes;
  ADD_FAILURE() << "no such rule: " << rule;
  return false;
}

/// All combinations of what a controller can report.
std::vector<EnablingContext> everyContext() {
  std::vector<EnablingContext> contexts;
  for (unsigned bits = 0; bits < 256; ++bits) {
    const auto bit = [bits](unsigned index) { return (bits >> index & 1) == 1; };
    contexts.push_back({.textFocus = {},
                        .hasController = bit(0),
                        .isBusy = bit(1),
                        .hasFile = bit(2),
                        .canUndo = bit(3),
                        .canRedo = bit(4),
                        .hasBookmarks = bit(5),
                        .hasSelection = bit(6),
                        .hasBytes = bit(7)});
  }
  return contexts;
}

std::vector<TextFocus> everyTextFocus() {
  std::vector<TextFocus> all;
  for (unsigned bits = 0; bits < 32; ++bits) {
    const auto bit = [bits](unsigned index) { return (bits >> index & 1) == 1; };
    all.push_back({.isEditable = bit(0),
                   .hasText = bit(1),
                   .hasSelection = bit(2),
                   .canUndo = bit(3),
                   .canRedo = bit(4)});
  }
  return all;
}

std::vector<MenuItem> everyItem() {
  std::vector<MenuItem> items;
  for (const Menu& menu : mainMenu()) {
    for (const MenuItem& item : menu.items) {
      if (!item.isSeparator()) items.push_back(item);
    }
  }
  return items;
}

bool isEnabled(const MenuItem& item, const EnablingContext& context) {
  return isEnabled(*findCommand(item.action), context);
}

/// A context in which every item is enabled.
EnablingContext everythingAvailable() {
  return everyContext()[0b11111101];
}

std::string described(const MenuItem& item, const EnablingContext& c) {
  std::ostringstream text;
  text << item.title << ": controller " << c.hasController << ", busy " << c.isBusy << ", file "
       << c.hasFile << ", undo " << c.canUndo << ", redo " << c.canRedo << ", bookmarks "
       << c.hasBookmarks << ", selection " << c.hasSelection << ", bytes " << c.hasBytes;
  return text.str();
}

TEST(MenuEnabling, hasARuleForEveryItem) {
  const auto rules = rulesByTitle();
  for (const MenuItem& item : everyItem()) {
    EXPECT_TRUE(rules.contains(std::string(item.title))) << item.title;
  }
  EXPECT_EQ(rules.size(), 94U);
}

TEST(MenuEnabling, followsTheControllerForEveryItemInEveryContext) {
  const auto rules = rulesByTitle();
  for (const EnablingContext& context : everyContext()) {
    for (const MenuItem& item : everyItem()) {
      ASSERT_EQ(isEnabled(item, context), isExpected(rules.at(std::string(item.title)), context))
          << described(item, context);
    }
  }
}

TEST(MenuEnabling, followsTheFocusedTextViewForStandardTextCommands) {
  const std::map<std::string_view, bool TextFocus::*> answers = {
      {"Undo", &TextFocus::canUndo},      {"Redo", &TextFocus::canRedo},
      {"Cut", &TextFocus::isEditable},    {"Paste", &TextFocus::isEditable},
      {"Delete", &TextFocus::isEditable}, {"Select All", &TextFocus::hasText},
      {"Copy", &TextFocus::hasSelection},
  };
  const auto items = everyItem();
  for (EnablingContext context : everyContext()) {
    for (const TextFocus& focus : everyTextFocus()) {
      EnablingContext unfocused = context;
      context.textFocus = focus;
      for (const MenuItem& item : items) {
        const auto answer = answers.find(item.title);
        const bool expected =
            answer != answers.end() ? focus.*answer->second : isEnabled(item, unfocused);
        ASSERT_EQ(isEnabled(item, context), expected) << described(item, context);
      }
    }
  }
}

TEST(MenuEnabling, enablesEverythingWhereAllIsThere) {
  for (const MenuItem& item : everyItem())
    EXPECT_TRUE(isEnabled(item, everythingAvailable())) << item.title;
}

TEST(MenuEnabling, letsATextViewHaveItsCommandsWithoutAnEditor) {
  EnablingContext context;
  context.textFocus = TextFocus{.isEditable = true, .canUndo = true};
  EXPECT_TRUE(isEnabled(*findCommand("forwardPaste:"), context));
  EXPECT_TRUE(isEnabled(*findCommand("forwardUndo:"), context));
  EXPECT_FALSE(isEnabled(*findCommand("forwardCopy:"), context));
}

}  // namespace
}  // namespace quillmor
