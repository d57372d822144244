#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "search/Replacing.h"
#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"
#include "window/commands/CommandFamily.h"
#include "window/commands/SearchCommands.h"

namespace quillmor {

/// The requests of the Replace panel: replacing one match, or all of them with or without a
/// question for each.
class ReplaceCommands : private CommandFamily {
 public:
  /// `searching` outlives this object.
  ReplaceCommands(CommandContext& context, SearchCommands& searching)
      : CommandFamily(context), searching_(searching) {}

  void performReplace(const SearchRequest& request);
  void performReplaceAll(const SearchRequest& request);

 private:
  struct PromptedRun;
  enum class ReplaceDecision { replace, skip, cancel };

  void replaceAndFindNext(const SearchRequest& request);
  bool applyReplacement(const SearchMatch& match, std::span<const std::uint8_t> replacement);
  void startReplaceAll(const SearchRequest& request);
  void installReplaceAll(ReplaceAllComputation computation);
  void showReplacedCount(std::int64_t count);
  void performReplaceAllWithPrompt(const std::shared_ptr<PromptedRun>& run);
  void offerNextOccurrence(const std::shared_ptr<PromptedRun>& run);
  bool takeDecision(PromptedRun& run, const SearchMatch& match);
  ReplaceDecision promptForReplace(const SearchMatch& match);
  void computePromptReplaceAll(const std::shared_ptr<PromptedRun>& run);
  void finishPromptReplaceAll(PromptedRun& run, ReplaceAllComputation computation);
  void abandonPromptReplaceAll(PromptedRun& run, const Error& error);

  SearchCommands& searching_;
};

}  // namespace quillmor
