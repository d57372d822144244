#include "app/MenuEnabling.h"

#include <algorithm>
#include <span>

namespace quillmor {

namespace {

/// Standard text commands, and what the focused text view answers for each.
struct TextRule {
  std::string_view action;
  bool TextFocus::*need;
};

constexpr TextRule kTextRules[] = {
    {"forwardUndo:", &TextFocus::canUndo},
    {"forwardRedo:", &TextFocus::canRedo},
    {"forwardCut:", &TextFocus::isEditable},
    {"forwardPaste:", &TextFocus::isEditable},
    {"forwardDeleteSelection:", &TextFocus::isEditable},
    {"forwardSelectAll:", &TextFocus::hasText},
    {"forwardCopy:", &TextFocus::hasSelection},
};

constexpr std::string_view kNeedFile[] = {
    "forwardRevertDocument:",
    "forwardReloadFromDisk:",
    "forwardRevealInFinder:",
    "forwardCopyFilePath:",
};

constexpr std::string_view kNeedUndo[] = {"forwardUndo:"};
constexpr std::string_view kNeedRedo[] = {"forwardRedo:"};

constexpr std::string_view kNeedBookmarks[] = {
    "forwardNextBookmark:",   "forwardPreviousBookmark:", "forwardShowBookmarks:",
    "forwardClearBookmarks:", "forwardExportBookmarks:",
};

constexpr std::string_view kNeedSelection[] = {
    "forwardFillSelectionWithZero:", "forwardFillSelectionWithFF:", "forwardInvertSelection:",
    "forwardReverseSelection:",      "forwardSwapSelection16:",     "forwardSwapSelection32:",
    "forwardXorSelection:",          "forwardAndSelection:",        "forwardOrSelection:",
    "forwardCropToSelection:",
};

constexpr std::string_view kNeedBytes[] = {
    "forwardFind:",
    "forwardReplace:",
    "forwardFindNext:",
    "forwardFindPrevious:",
    "forwardFindWildcardMask:",
    "forwardGoToOffset:",
    "forwardGoToStart:",
    "forwardGoToEnd:",
    "forwardCopy:",
    "forwardCopyAsHex:",
    "forwardCopyAsCArray:",
    "forwardCopyAsSwiftArray:",
    "forwardCopyAsBase64:",
    "forwardCopyAsPythonBytes:",
    "forwardCopyAsJSONByteArray:",
    "forwardCopyCurrentOffset:",
    "forwardCopySelectionRange:",
    "forwardSelectAll:",
    "forwardSelectRange:",
    "forwardExportSelection:",
    "forwardExportSelectionHexDump:",
    // A patch covers the selection, else the byte at the caret, so it needs bytes but no selection.
    "forwardExportHexPatch:",
    "forwardApplyRx580MacOSPreset:",
    "forwardApplyRx580MacOSPresetAndFixChecksum:",
    "forwardValidatePolarisChecksum:",
    "forwardFixPolarisChecksum:",
    "forwardShowDataInspectorDetail:",
    "forwardEditCurrentValue:",
    "forwardBitEditor:",
    "forwardValidateACPIChecksum:",
    "forwardFixACPIChecksum:",
};

/// Commands of an idle controller that need something more of its document.
struct DocumentRule {
  std::span<const std::string_view> actions;
  bool EnablingContext::*need;
};

constexpr DocumentRule kDocumentRules[] = {
    {kNeedFile, &EnablingContext::hasFile},
    {kNeedUndo, &EnablingContext::canUndo},
    {kNeedRedo, &EnablingContext::canRedo},
    {kNeedBookmarks, &EnablingContext::hasBookmarks},
    {kNeedSelection, &EnablingContext::hasSelection},
    {kNeedBytes, &EnablingContext::hasBytes},
};

const TextRule* textRuleFor(std::string_view action) {
  const auto* rule = std::ranges::find(kTextRules, action, &TextRule::action);
  return rule == std::end(kTextRules) ? nullptr : rule;
}

bool documentAllows(std::string_view action, const EnablingContext& context) {
  return std::ranges::all_of(kDocumentRules, [&](const DocumentRule& rule) {
    const bool applies = std::ranges::find(rule.actions, action) != rule.actions.end();
    return !applies || context.*rule.need;
  });
}

}  // namespace

bool isEnabled(std::string_view action, const EnablingContext& context,
               const HasCommand& hasCommand) {
  if (!isForwarded(action)) return true;
  // The text view handles these itself, whether or not the editor has such a command.
  if (const TextRule* rule = textRuleFor(action); rule && context.textFocus) {
    return (*context.textFocus).*rule->need;
  }
  if (!hasCommand(action)) return false;
  if (!context.hasController) return action == "forwardOpenDocument:";
  return !context.isBusy && documentAllows(action, context);
}

bool isEnabled(const MenuItem& item, const EnablingContext& context, const HasCommand& hasCommand) {
  return isEnabled(item.action, context, hasCommand);
}

}  // namespace quillmor
