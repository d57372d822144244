#pragma once

#include <array>
#include <string_view>

namespace quillmor {

struct ToolbarItem {
  std::string_view title;
  std::string_view action;  ///< the menu action that a click performs
};

/// The buttons of an editor window's toolbar, from left to right.
inline constexpr auto kToolbarItems = std::to_array<ToolbarItem>({
    {"Find", "forwardFind:"},
    {"Replace", "forwardReplace:"},
    {"Go To", "forwardGoToOffset:"},
    {"Range", "forwardSelectRange:"},
    {"Insert", "forwardInsertBytes:"},
    {"Fill", "forwardFillSelection:"},
    {"Compare", "forwardCompareWithFile:"},
    {"Strings", "forwardExportASCIIStrings:"},
    {"Bookmark", "forwardAddBookmark:"},
    {"Checksum", "forwardShowChecksums:"},
    {"Frequency", "forwardShowByteFrequency:"},
    {"Insert/Overwrite", "forwardToggleInsertMode:"},
});

}  // namespace quillmor
