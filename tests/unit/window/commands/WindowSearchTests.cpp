// Finding from an editor window: the panels' requests, repeating them, and what they refuse.

#include <functional>
#include <random>
#include <utility>

#include "search/typed/TypedInput.h"
#include "support/MemoryProbes.h"
#include "support/WindowFixture.h"
#include "window/commands/WindowLimits.h"

namespace quillmor::test {
namespace {

constexpr const char* kBusy =
    "Another operation is already running. Wait for it to finish before editing.";

class WindowSearch : public WindowFixture {
 protected:
  static SearchRequest text(std::string searched) {
    return {.searchText = std::move(searched), .caseSensitive = true};
  }

  static SearchRequest hex(std::string searched) {
    return {.mode = SearchMode::hexValues, .searchText = std::move(searched)};
  }

  static void expectSelected(const EditorUnderTest& editor, std::int64_t offset,
                             std::int64_t length) {
    EXPECT_EQ(editor.editor().caretOffset(), offset);
    EXPECT_EQ(editor.editor().selection(), (HexSelection{offset, length}));
  }

  void expectBeeps(int count) { EXPECT_EQ(platform.beeper.count, count); }
};

TEST_F(WindowSearch, opensThePanelsWithTheLastRequest) {
  auto editor = makeEditor("hello");
  editor->perform("forwardFind:");
  ASSERT_EQ(editor.window->panelsShown.size(), 1U);
  EXPECT_EQ(editor.window->panelsShown[0].first, PanelKind::find);
  EXPECT_EQ(editor.window->panelsShown[0].second, SearchRequest{});
  editor->commands().searching().performFind(text("l"), false);
  editor->perform("forwardReplace:");
  EXPECT_EQ(editor.window->panelsShown[1].first, PanelKind::replace);
  EXPECT_EQ(editor.window->panelsShown[1].second, text("l"));
}

TEST_F(WindowSearch, selectsTheMatchItFinds) {
  auto editor = makeEditor("one two one");
  editor->commands().searching().performFind(text("one"), false);
  expectSelected(editor, 0, 3);
  editor->commands().searching().performFind(text("one"), true);
  expectSelected(editor, 8, 3);
  expectBeeps(0);
}

TEST_F(WindowSearch, ignoresCaseUnlessToldOtherwise) {
  auto editor = makeEditor("xABC abc");
  editor->commands().searching().performFind({.searchText = "abc"}, false);
  expectSelected(editor, 1, 3);
  editor.editor().setCaretOffset(0);
  editor.editor().setSelection({});
  editor->commands().searching().performFind(text("abc"), false);
  expectSelected(editor, 5, 3);
}

TEST_F(WindowSearch, doesNotWrapAround) {
  auto editor = makeEditor("one two");
  editor.editor().setCaretOffset(4);
  editor->commands().searching().performFind(text("one"), false);
  expectBeeps(1);
  EXPECT_EQ(editor.editor().caretOffset(), 4);
  EXPECT_EQ(editor.editor().selection(), HexSelection{});
}

TEST_F(WindowSearch, beepsAtTextsThatCannotBeSearched) {
  auto editor = makeEditor("12345");
  editor->commands().searching().performFind(text(""), false);
  expectBeeps(1);
  EXPECT_EQ(editor->commands().searching().lastSearchRequest(), SearchRequest{});
  editor->commands().searching().performFind(hex("GG"), false);
  expectBeeps(2);
  EXPECT_EQ(editor->commands().searching().lastSearchRequest(), hex("GG"));
  editor->commands().searching().performFind(
      {.mode = SearchMode::integerNumber, .searchText = "1FH"}, false);
  expectBeeps(3);
  editor->commands().searching().performFind(
      {.mode = SearchMode::floatingPointNumber, .searchText = "nan"}, false);
  expectBeeps(4);
  editor->commands().searching().performFind(
      {.searchText = "\xC3\xA4", .textEncoding = SearchTextEncoding::ascii}, false);
  expectBeeps(5);
  editor->commands().searching().performFind(text(std::string(maxTextInputCharacters + 1, '1')),
                                             false);
  expectBeeps(6);
  editor->commands().searching().performSearchAll(hex("123"));
  expectBeeps(7);
  EXPECT_FALSE(editor->isBusy());
  EXPECT_EQ(editor.editor().selection(), HexSelection{});
}

TEST_F(WindowSearch, beepsWhenNothingLiesBeforeTheStart) {
  auto editor = makeEditor("aaa");
  SearchRequest request = text("a");
  request.direction = SearchDirection::backward;
  editor->commands().searching().performFind(request, true);
  expectBeeps(1);
}

TEST_F(WindowSearch, repeatsTheLastRequestInBothDirections) {
  auto editor = makeEditor("a.a.a");
  editor->commands().searching().performFind(text("a"), false);
  editor->perform("forwardFindNext:");
  expectSelected(editor, 2, 1);
  editor->perform("forwardFindNext:");
  expectSelected(editor, 4, 1);
  editor->perform("forwardFindPrevious:");
  expectSelected(editor, 2, 1);
  // Going back once does not turn the request around.
  editor->perform("forwardFindNext:");
  expectSelected(editor, 4, 1);
  editor->perform("forwardFindNext:");
  expectBeeps(1);
  expectSelected(editor, 4, 1);
}

TEST_F(WindowSearch, repeatsAllAsForwardAndBackwardAsBackward) {
  auto editor = makeEditor("a.a.a");
  SearchRequest request = text("a");
  request.direction = SearchDirection::all;
  editor->commands().searching().performFind(request, false);
  editor->perform("forwardFindNext:");
  expectSelected(editor, 2, 1);
  request.direction = SearchDirection::backward;
  editor->commands().searching().performFind(request, true);
  expectSelected(editor, 0, 1);
  editor.editor().setCaretOffset(5);
  editor.editor().setSelection({});
  editor->perform("forwardFindNext:");
  expectSelected(editor, 4, 1);
  editor->perform("forwardFindNext:");
  expectSelected(editor, 2, 1);
}

TEST_F(WindowSearch, beepsAtRepeatingNothing) {
  auto editor = makeEditor("hello");
  editor->perform("forwardFindNext:");
  expectBeeps(1);
  editor->perform("forwardFindPrevious:");
  expectBeeps(2);
}

TEST_F(WindowSearch, findsNumbersInEveryWidth) {
  auto editor = makeEditor(std::string("\xFF\xFF\x00\x00\x01\x00\x00\x00\xFF", 9));
  editor->commands().searching().performFind({.mode = SearchMode::integerNumber, .searchText = "1"},
                                             false);
  // 00 00 ... no four or eight bytes at offset 1; at 2 the two-byte forms do not begin, at 3 the
  // big-endian two-byte form does, at 4 the little-endian four-byte form.
  expectSelected(editor, 3, 2);
  editor->perform("forwardFindNext:");
  expectBeeps(1);
}

TEST_F(WindowSearch, runsInTheBackgroundFromOneMebibyteOn) {
  auto small = makeEditor(std::string(backgroundSearchThresholdBytes - 1, '.'));
  small->commands().searching().performFind(text("x"), false);
  EXPECT_FALSE(small->isBusy());
  expectBeeps(1);

  auto large = makeEditor(std::string(backgroundSearchThresholdBytes - 1, '.') + "x");
  large->commands().searching().performFind(text("x"), false);
  EXPECT_TRUE(large->isBusy());
  EXPECT_EQ(large.window->statusText, "Searching…");
  EXPECT_FALSE(large.window->toolbarEnabled);
  EXPECT_EQ(large.editor().selection(), HexSelection{});
  platform.executor.runAll();
  EXPECT_FALSE(large->isBusy());
  expectSelected(large, backgroundSearchThresholdBytes - 1, 1);
  large->perform("forwardFindNext:");
  platform.executor.runAll();
  expectBeeps(2);
}

TEST_F(WindowSearch, stopsSilently) {
  auto editor = makeEditor(std::string(backgroundSearchThresholdBytes, '.'));
  editor->commands().searching().performFind(text("."), false);
  editor->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_FALSE(editor->isBusy());
  EXPECT_EQ(editor.editor().selection(), HexSelection{});
  editor->commands().searching().performSearchAll(text("."));
  editor->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_FALSE(editor->isBusy());
  expectBeeps(0);
}

TEST_F(WindowSearch, isSilentWhenItsWindowHasGone) {
  auto editor = makeEditor("hello");
  editor->commands().searching().performSearchAll(text("l"));
  editor.window->closeWindow();
  platform.executor.runAll();
  EXPECT_TRUE(platform.alerts.shown().empty());
}

TEST_F(WindowSearch, countsAllOccurrences) {
  auto editor = makeEditor("AAAA");
  platform.alerts.expect("Search Results", "2 occurrence(s) found.");
  editor->commands().searching().performSearchAll(hex("41 41"));
  EXPECT_TRUE(editor->isBusy());
  EXPECT_EQ(editor.window->statusText, "Searching…");
  platform.executor.runAll();
  expectSelected(editor, 0, 2);
  expectBeeps(0);
  editor->perform("forwardFindNext:");
  expectSelected(editor, 2, 2);
}

TEST_F(WindowSearch, saysWithABeepThatThereAreNone) {
  auto editor = makeEditor("AAAA");
  editor.editor().setCaretOffset(3);
  platform.alerts.expect("Search Results", "No matches found.");
  platform.alerts.duringNext([this] { expectBeeps(0); });
  editor->commands().searching().performSearchAll(text("b"));
  platform.executor.runAll();
  expectBeeps(1);
  EXPECT_EQ(editor.editor().caretOffset(), 3);
}

TEST_F(WindowSearch, refusesWhileBusy) {
  auto editor = makeEditor("AAAA");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  const std::pair<const char*, std::function<void()>> commands[] = {
      {"Find", [&] { editor->perform("forwardFind:"); }},
      {"Replace", [&] { editor->perform("forwardReplace:"); }},
      {"Find Next", [&] { editor->perform("forwardFindNext:"); }},
      {"Find Previous", [&] { editor->perform("forwardFindPrevious:"); }},
      {"Find Wildcard/Mask", [&] { editor->perform("forwardFindWildcardMask:"); }},
      {"Find", [&] { editor->commands().searching().performFind(text("A"), false); }},
      {"Search All", [&] { editor->commands().searching().performSearchAll(text("A")); }},
      {"Replace", [&] { editor->commands().replacing().performReplace(text("A")); }},
      {"Replace All", [&] { editor->commands().replacing().performReplaceAll(text("A")); }},
  };
  for (const auto& [title, command] : commands) {
    platform.alerts.expect(title, kBusy);
    command();
  }
  EXPECT_TRUE(editor.window->panelsShown.empty());
  EXPECT_EQ(editor.editor().selection(), HexSelection{});
  EXPECT_EQ(editor->commands().searching().lastSearchRequest(), SearchRequest{});
}

TEST_F(WindowSearch, forgetsTheRequestAndClosesThePanelsWithTheWindow) {
  auto editor = makeEditor("AAAA");
  editor->commands().searching().performFind(text("A"), false);
  editor.window->closeWindow();
  EXPECT_TRUE(editor.window->panelsClosed);
  EXPECT_EQ(editor->commands().searching().lastSearchRequest(), SearchRequest{});
}

#if QUILLMOR_NEW_CAN_FAIL
TEST_F(WindowSearch, saysThatItFailed) {
  auto editor = makeEditor(std::string(2 * maxTextInputCharacters, '.'));
  const auto runOutOfMemory = [](const std::function<void()>& work) {
    const NoMoreAddressSpace none;
    work();
  };
  // Preparing a needle of this size takes more memory than there is.
  const SearchRequest large = text(std::string(maxTextInputCharacters, '.'));
  platform.executor.aroundNextWork(runOutOfMemory);
  platform.alerts.expect("Search Failed", "Cannot allocate memory");
  editor->commands().searching().performFind(large, false);
  platform.executor.runAll();
  platform.executor.aroundNextWork(runOutOfMemory);
  platform.alerts.expect("Search Failed", "Cannot allocate memory");
  editor->commands().searching().performSearchAll(large);
  platform.executor.runAll();
  EXPECT_FALSE(editor->isBusy());
  EXPECT_EQ(editor.editor().selection(), HexSelection{});
  expectBeeps(0);
}
#endif

class WindowWildcardSearch : public WindowSearch {
 protected:
  static constexpr const char* kTitle = "Find Wildcard/Mask";

  void ask(const EditorUnderTest& editor, const std::string& pattern,
           const std::string& button = "OK") {
    platform.alerts.expect(kTitle, "Enter hex bytes with ?? wildcards. Example: F0 ?? E6 0F",
                           button, {pattern});
    editor->perform("forwardFindWildcardMask:");
    platform.executor.runAll();
  }
};

TEST_F(WindowWildcardSearch, selectsThePatternsLength) {
  auto editor = makeEditor("abcdefg");
  ask(editor, "63 ?? 65");
  expectSelected(editor, 2, 3);
  EXPECT_EQ(platform.alerts.shown()[0].fields[0].placeholder, "DE AD ?? EF");
}

TEST_F(WindowWildcardSearch, startsBehindTheSelectionOrAtTheCaretAndWrapsAround) {
  auto editor = makeEditor("a1.a2.a3");
  ask(editor, "61 ??");
  expectSelected(editor, 0, 2);
  ask(editor, "61 ??");
  expectSelected(editor, 3, 2);
  ask(editor, "61 ??");
  expectSelected(editor, 6, 2);
  ask(editor, "61 ??");
  expectSelected(editor, 0, 2);
  editor.editor().setSelection({});
  editor.editor().setCaretOffset(3);
  ask(editor, "61 ??");
  expectSelected(editor, 3, 2);
}

TEST_F(WindowWildcardSearch, offersThePatternOfTheLastTimeAgain) {
  auto editor = makeEditor("abc");
  ask(editor, "61");
  ask(editor, "61", "Cancel");
  EXPECT_EQ(platform.alerts.shown()[0].fields[0].text, "");
  EXPECT_EQ(platform.alerts.shown()[1].fields[0].text, "61");
}

TEST_F(WindowWildcardSearch, runsInTheBusyState) {
  auto editor = makeEditor("abc");
  platform.alerts.expect(kTitle, "Enter hex bytes with ?? wildcards. Example: F0 ?? E6 0F", "OK",
                         {"63"});
  editor->perform("forwardFindWildcardMask:");
  EXPECT_TRUE(editor->isBusy());
  EXPECT_EQ(editor.window->statusText, "Searching wildcard pattern…");
  editor->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_EQ(editor.editor().selection(), HexSelection{});
}

TEST_F(WindowWildcardSearch, cancelDoesNothing) {
  auto editor = makeEditor("abc");
  ask(editor, "nonsense", "Cancel");
  EXPECT_EQ(editor.editor().selection(), HexSelection{});
  expectBeeps(0);
}

TEST_F(WindowWildcardSearch, refusesInvalidPatterns) {
  auto editor = makeEditor("abc");
  for (const char* pattern : {"", " ", "AA-BB", "0xAA", "A", "?", "A?", "?? G0"}) {
    platform.alerts.expectRefusedAnswer(
        kTitle, "Enter hex bytes with ?? wildcards. Example: F0 ?? E6 0F", "OK", {pattern},
        "Invalid pattern. Use byte tokens such as DE AD ?? EF.");
    editor->perform("forwardFindWildcardMask:");
    EXPECT_FALSE(editor->isBusy()) << pattern;
  }
  EXPECT_EQ(editor.editor().selection(), HexSelection{});
}

TEST_F(WindowWildcardSearch, refusesPatternsTooLarge) {
  auto editor = makeEditor("abc");
  const char* question = "Enter hex bytes with ?? wildcards. Example: F0 ?? E6 0F";
  std::string largest(maxTextInputCharacters, ' ');
  largest[0] = '6';
  largest[1] = '1';
  platform.alerts.expect(kTitle, question, "OK", {largest});
  editor->perform("forwardFindWildcardMask:");
  platform.executor.runAll();
  expectSelected(editor, 0, 1);

  platform.alerts.expectRefusedAnswer(kTitle, question, "OK", {largest + " "},
                                      "Pattern is too large to process safely.");
  editor->perform("forwardFindWildcardMask:");
  EXPECT_FALSE(editor->isBusy());
}

#if QUILLMOR_NEW_CAN_FAIL
TEST_F(WindowWildcardSearch, saysThatItFailed) {
  // Of all values and fitting nearly everywhere, so that the search needs tables.
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::mt19937 random(1);
  std::string content(16'000'000, '\0');
  for (std::size_t at = 0; at < content.size(); ++at) content[at] = static_cast<char>(at % 256);
  for (std::size_t at = 0; at < content.size(); at += 500 + random() % 1000) content[at] ^= 1;
  std::string pattern;
  for (std::size_t at = 0; at < 2'000'000; ++at) {
    pattern += {kDigits[at % 256 / 16], kDigits[at % 16]};
  }
  auto editor = makeEditor(content);
  platform.executor.aroundNextWork([](const std::function<void()>& work) {
    const NoMoreAddressSpace none;
    work();
  });
  platform.alerts.expect(kTitle, "Enter hex bytes with ?? wildcards. Example: F0 ?? E6 0F", "OK",
                         {pattern});
  platform.alerts.expect("Find Wildcard/Mask Failed", "Cannot allocate memory");
  editor->perform("forwardFindWildcardMask:");
  platform.executor.runAll();
  EXPECT_FALSE(editor->isBusy());
}
#endif

TEST_F(WindowWildcardSearch, saysWhenThereIsNoMatch) {
  auto editor = makeEditor("abc");
  platform.alerts.expect(kTitle, "Enter hex bytes with ?? wildcards. Example: F0 ?? E6 0F", "OK",
                         {"64 ??"});
  platform.alerts.expect(kTitle, "No match found.");
  editor->perform("forwardFindWildcardMask:");
  platform.executor.runAll();
  EXPECT_EQ(editor.editor().selection(), HexSelection{});
  expectBeeps(0);
}

}  // namespace
}  // namespace quillmor::test
