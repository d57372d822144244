#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <random>
#include <thread>

#include "base/ByteUnits.h"
#include "base/SaturatingMath.h"
#include "document/Bookmarks.h"
#include "support/ErrorMatchers.h"
#include "support/MemoryProbes.h"
#include "support/SearchFixture.h"
#include "tools/patches/JSONPatchPreset.h"
#include "tools/patches/JSONPresetLimits.h"

namespace quillmor {
namespace {

using test::failsWith;
using test::searchBytes;
using testing::ElementsAre;
using testing::IsEmpty;
using Offsets = std::vector<std::int64_t>;

constexpr std::int64_t kNoLimit = kMaxInt64;
constexpr const char* kGrowsTooMuch = "JSON preset output would grow too much to process safely.";

JSONPatchPreset::Rule rule(std::string_view find, std::string_view replace) {
  return {"A rule", searchBytes(find), searchBytes(replace)};
}

JSONPatchPreset presetOf(std::vector<JSONPatchPreset::Rule> rules) {
  return {"A preset", std::move(rules)};
}

JSONPresetResult applied(std::string_view text, std::vector<JSONPatchPreset::Rule> rules,
                         Offsets bookmarks = {}, std::int64_t maximumByteCount = kNoLimit) {
  TaskProgress progress;
  return applyJSONPreset(ByteBuffer(searchBytes(text)), presetOf(std::move(rules)),
                         std::move(bookmarks), maximumByteCount, progress);
}

std::string textOf(const JSONPresetResult& result) {
  return {result.bytes.span().begin(), result.bytes.span().end()};
}

auto isStopped() {
  return testing::Throws<Error>(testing::Property(&Error::isStopped, true));
}

TEST(JSONPresetApply, replacesAllOccurrencesAndCountsThem) {
  const auto result = applied("ab.ab..abab", {rule("ab", "XYZ"), rule("..", "-"), rule("q", "r")});
  EXPECT_EQ(textOf(result), "XYZ.XYZ-XYZXYZ");
  EXPECT_THAT(result.counts, ElementsAre(4, 1, 0));
  EXPECT_EQ(result.total, 5);
  EXPECT_EQ(textOf(applied("ab", {})), "ab");
  EXPECT_EQ(textOf(applied("", {rule("a", "b")})), "");
  EXPECT_EQ(textOf(applied("a", {rule("ab", "b")})), "a");
}

TEST(JSONPresetApply, takesMatchesThatDoNotOverlapFrontToBack) {
  EXPECT_EQ(textOf(applied("aaaaa", {rule("aa", "b")})), "bba");
  EXPECT_EQ(textOf(applied("abababa", {rule("aba", "X")})), "XbX");
}

TEST(JSONPresetApply, neverSearchesWhatARuleHasWritten) {
  EXPECT_EQ(textOf(applied("aab", {rule("a", "aa")})), "aaaab");
  EXPECT_EQ(textOf(applied("abb", {rule("ab", "a")})), "ab");
  EXPECT_EQ(applied("abb", {rule("ab", "a")}).total, 1);
}

TEST(JSONPresetApply, givesEachRuleTheOutputOfTheOneBefore) {
  const auto result = applied("abc", {rule("a", "b"), rule("b", "c"), rule("c", "d")});
  EXPECT_EQ(textOf(result), "ddd");
  EXPECT_THAT(result.counts, ElementsAre(1, 2, 3));
  EXPECT_EQ(textOf(applied("abb", {rule("ab", "a"), rule("ab", "x")})), "x");
}

TEST(JSONPresetApply, matchesExactBytes) {
  EXPECT_EQ(applied("AB", {rule("ab", "x")}).total, 0);
  EXPECT_EQ(
      applied(std::string_view("a\0\xFF", 3), {rule(std::string_view("\0\xFF", 2), "x")}).total, 1);
}

TEST(JSONPresetApply, tellsWhereTheLastMatchingRuleReplacedFirst) {
  const auto result = applied("ab..ab", {rule("ab", "long"), rule("..", "-"), rule("x", "y")});
  EXPECT_EQ(textOf(result), "long-long");
  EXPECT_EQ(result.lastRuleFirstReplacement, (HexSelection{4, 1}));
  EXPECT_EQ(applied(".ab.ab", {rule("ab", "long")}).lastRuleFirstReplacement, (HexSelection{1, 4}));
  EXPECT_EQ(applied("ab", {rule("x", "y")}).lastRuleFirstReplacement, std::nullopt);
}

TEST(JSONPresetApply, sharesTheDocumentWhereNothingChanges) {
  TaskProgress progress;
  const ByteBuffer original(searchBytes("..ab.."));
  const auto none = applyJSONPreset(original, presetOf({rule("x", "y"), rule("z", "long")}), {1, 6},
                                    kNoLimit, progress);
  EXPECT_TRUE(none.bytes.sharesStorageWith(original));
  EXPECT_EQ(none.bytes, original);
  EXPECT_THAT(none.counts, ElementsAre(0, 0));
  EXPECT_THAT(none.bookmarks, ElementsAre(1, 6));
  const auto same =
      applyJSONPreset(original, presetOf({rule("ab", "ab")}), {1, 3, 6}, kNoLimit, progress);
  EXPECT_TRUE(same.bytes.sharesStorageWith(original));
  EXPECT_EQ(same.total, 1);
  EXPECT_THAT(same.bookmarks, ElementsAre(1, 3, 6));
}

TEST(JSONPresetApply, leavesTheOriginalAsItWas) {
  TaskProgress progress;
  const ByteBuffer original(searchBytes("..ab.."));
  const auto result =
      applyJSONPreset(original, presetOf({rule("ab", "XY")}), {}, kNoLimit, progress);
  EXPECT_EQ(original, ByteBuffer(searchBytes("..ab..")));
  EXPECT_FALSE(result.bytes.sharesStorageWith(original));
}

// --- limits -----------------------------------------------------------------------------------

TEST(JSONPresetApply, growsToTheLimitAndNotByOneByteMore) {
  EXPECT_EQ(textOf(applied("a.a", {rule("a", "bb")}, {}, 5)), "bb.bb");
  EXPECT_THAT([] { applied("a.a", {rule("a", "bb")}, {}, 4); }, failsWith(2609, kGrowsTooMuch));
  EXPECT_THAT([] { applied("a", {rule("a", "bbb")}, {}, 2); }, failsWith(2609, kGrowsTooMuch));
  EXPECT_EQ(textOf(applied("a", {rule("a", "bbb")}, {}, 3)), "bbb");
  // The limit holds after every rule.
  EXPECT_THAT(
      [] {
        applied("ab", {rule("a", "cc"), rule("cc", "")}, {}, 2);
      },
      failsWith(2609, kGrowsTooMuch));
  EXPECT_EQ(textOf(applied("ab", {rule("b", ""), rule("a", "cc")}, {}, 2)), "cc");
}

TEST(JSONPresetApply, doesNotLimitDocumentsThatDoNotGrow) {
  EXPECT_EQ(textOf(applied("aab", {rule("a", "c"), rule("b", "")}, {}, 1)), "cc");
  EXPECT_EQ(textOf(applied("aab", {rule("x", "long")}, {}, 1)), "aab");
}

TEST(JSONPresetApply, leavesTheDocumentAsItWasWhenItWouldGrowTooMuch) {
  JSONPresetResult document{ByteBuffer(searchBytes("abab")), {1, 2}, {}, 0, {}};
  const ByteBuffer before = document.bytes;
  TaskProgress progress;
  EXPECT_THAT([&] { applyJSONPresetRule(rule("a", "cc"), 5, document, progress); },
              failsWith(2609, kGrowsTooMuch));
  EXPECT_TRUE(document.bytes.sharesStorageWith(before));
  EXPECT_THAT(document.bookmarks, ElementsAre(1, 2));
  EXPECT_THAT(document.counts, IsEmpty());
  EXPECT_EQ(document.total, 0);
  EXPECT_EQ(document.lastRuleFirstReplacement, std::nullopt);
  applyJSONPresetRule(rule("a", "cc"), 6, document, progress);
  EXPECT_EQ(textOf(document), "ccbccb");
  EXPECT_THAT(document.bookmarks, ElementsAre(2));
  EXPECT_THAT(document.counts, ElementsAre(2));
}

TEST(JSONPresetApply, boundsHostilePresets) {
  // Each rule doubles the document, 2^512 bytes in all.
  const std::vector<JSONPatchPreset::Rule> rules(512, rule("a", "aa"));
  EXPECT_THAT([&] { applied("a", rules, {}, kMiB); }, failsWith(2609, kGrowsTooMuch));
  const std::string longText(static_cast<std::size_t>(kMiB), 'a');
  EXPECT_THAT([&] { applied(longText, {rule("a", longText)}, {}, 8 * kMiB); },
              failsWith(2609, kGrowsTooMuch));
}

TEST(JSONPresetApply, growsTooMuchBeforeItTakesMemory) {
  JSONPresetResult document{ByteBuffer::filled(2 * kMiB, 'a'), {}, {}, 0, {}};
  const ByteBuffer before = document.bytes;
  TaskProgress progress;
  const NoMoreAddressSpace full;
  EXPECT_THAT([&] { applyJSONPresetRule(rule("a", "bb"), 4 * kMiB - 1, document, progress); },
              failsWith(2609, kGrowsTooMuch));
  EXPECT_THROW(applyJSONPresetRule(rule("a", "bb"), 4 * kMiB, document, progress), std::bad_alloc);
  EXPECT_TRUE(document.bytes.sharesStorageWith(before));
  EXPECT_THAT(document.counts, IsEmpty());
}

TEST(JSONPresetLimits, sayWhetherTheSizeFitsTheLimitOrTheAddresses) {
  constexpr const char* kBeyond = "JSON preset output offset exceeded the supported address range.";
  const JSONPresetExtent extent(10, 3, 16);
  EXPECT_EQ(extent.sizeWith(0), 10);
  EXPECT_EQ(extent.sizeWith(2), 16);
  EXPECT_TRUE(extent.allows(2));
  EXPECT_FALSE(extent.allows(3));
  EXPECT_THAT([&] { extent.sizeWith(3); }, failsWith(2609, kGrowsTooMuch));
  const JSONPresetExtent unlimited(7, kMaxInt64 / 2, kMaxInt64);
  EXPECT_EQ(unlimited.sizeWith(1), kMaxInt64 / 2 + 7);
  EXPECT_THAT([&] { unlimited.sizeWith(2); }, failsWith(2610, kBeyond));
  EXPECT_THAT([&] { unlimited.sizeWith(3); }, failsWith(2610, kBeyond));
  EXPECT_FALSE(unlimited.allows(2));
  const JSONPresetExtent atTheEnd(kMaxInt64 - 5, 5, kMaxInt64);
  EXPECT_EQ(atTheEnd.sizeWith(1), kMaxInt64);
  EXPECT_THAT([&] { atTheEnd.sizeWith(2); }, failsWith(2610, kBeyond));
  EXPECT_EQ(JSONPresetExtent(10, -3, 4).sizeWith(1), 7);
}

TEST(JSONPresetApply, failsWhenABookmarkWouldLeaveTheAddresses) {
  constexpr const char* kBeyond =
      "JSON preset bookmark offset exceeded the supported address range.";
  EXPECT_THAT(applied("a", {rule("a", "bbb")}, {1, kMaxInt64 - 2}).bookmarks,
              ElementsAre(3, kMaxInt64));
  EXPECT_THAT(
      [] {
        applied("a", {rule("a", "bbb")}, {1, kMaxInt64 - 1});
      },
      failsWith(2611, kBeyond));
  EXPECT_THAT(applied("a", {rule("x", "bbb")}, {1, kMaxInt64}).bookmarks,
              ElementsAre(1, kMaxInt64));
  EXPECT_THAT(applied("aa", {rule("aa", "b")}, {1, kMaxInt64}).bookmarks,
              ElementsAre(kMaxInt64 - 1));
  // Growing too much comes first.
  EXPECT_THAT([] { applied("a", {rule("a", "bbb")}, {kMaxInt64}, 2); },
              failsWith(2609, kGrowsTooMuch));
}

// --- stopping and progress ----------------------------------------------------------------------

TEST(JSONPresetApply, stopsAtOnceAndLeavesTheDocumentAsItWas) {
  TaskProgress progress;
  progress.requestStop();
  JSONPresetResult document{ByteBuffer(searchBytes("abab")), {1}, {}, 0, {}};
  EXPECT_THAT([&] { applyJSONPresetRule(rule("a", "b"), kNoLimit, document, progress); },
              isStopped());
  EXPECT_EQ(textOf(document), "abab");
  EXPECT_THAT(document.counts, IsEmpty());
  EXPECT_THAT(
      [&] { applyJSONPreset(document.bytes, presetOf({rule("a", "b")}), {}, kNoLimit, progress); },
      isStopped());
}

TEST(JSONPresetApply, stopsInTheMiddleOfARun) {
  std::vector<JSONPatchPreset::Rule> rules;
  for (int i = 0; i < 256; ++i) {
    rules.push_back(rule("a", "b"));
    rules.push_back(rule("b", "a"));
  }
  const ByteBuffer original = ByteBuffer::filled(4 * kMiB, 'a');
  TaskProgress progress;
  std::thread watcher([&] {
    while (progress.fraction() <= 0) std::this_thread::yield();
    progress.requestStop();
  });
  EXPECT_THAT([&] { applyJSONPreset(original, presetOf(rules), {}, kNoLimit, progress); },
              isStopped());
  watcher.join();
  EXPECT_LT(progress.fraction(), 1);
}

TEST(JSONPresetApply, tellsHowFarItIs) {
  for (const char* replacement : {"", "b", "long"}) {
    TaskProgress progress;
    applyJSONPreset(ByteBuffer::filled(kMiB + 5, 'a'),
                    presetOf({rule("x", "y"), rule("a", replacement), rule("a", "b")}), {},
                    kNoLimit, progress);
    EXPECT_EQ(progress.fraction(), 1) << replacement;
  }
}

TEST(JSONPresetApply, setsTheTotalBeforeTheFirstRule) {
  TaskProgress progress;
  JSONPresetResult document{ByteBuffer::filled(1000, 'a'), {}, {}, 0, {}};
  progress.setTotal(4000);
  applyJSONPresetRule(rule("x", "y"), kNoLimit, document, progress);
  EXPECT_EQ(progress.fraction(), 0.25);
  applyJSONPresetRule(rule("a", "bb"), kNoLimit, document, progress);
  EXPECT_EQ(progress.fraction(), 0.5);
  applyJSONPresetRule(rule("b", "a"), kNoLimit, document, progress);
  EXPECT_EQ(progress.fraction(), 1);
}

// --- against the obvious way
// ----------------------------------------------------------------------

struct Naive {
  std::vector<std::uint8_t> bytes;
  Offsets bookmarks;
  Offsets counts;
};

/// Edit by edit, each as a document makes it.
void applyNaively(const JSONPatchPreset::Rule& rule, Naive& document) {
  const std::ptrdiff_t length = std::ssize(rule.find);
  std::int64_t count = 0;
  for (std::ptrdiff_t at = 0; at + length <= std::ssize(document.bytes);) {
    const auto begin = document.bytes.begin() + at;
    if (!std::equal(rule.find.begin(), rule.find.end(), begin)) {
      ++at;
      continue;
    }
    document.bytes.erase(begin, begin + length);
    document.bytes.insert(document.bytes.begin() + at, rule.replace.begin(), rule.replace.end());
    adjustBookmarksForEdit(document.bookmarks, at, length, std::ssize(rule.replace));
    at += std::ssize(rule.replace);
    ++count;
  }
  document.counts.push_back(count);
}

class Cases {
 public:
  explicit Cases(unsigned seed) : random_(seed) {}

  std::size_t below(std::size_t bound) { return random_() % bound; }

  std::vector<std::uint8_t> bytes(std::size_t size) {
    std::vector<std::uint8_t> result(size);
    for (auto& byte : result) byte = static_cast<std::uint8_t>('a' + below(3));
    return result;
  }

  JSONPatchPreset preset() {
    JSONPatchPreset result{"P", {}};
    for (auto left = below(5); left > 0; --left) {
      result.rules.push_back({"R", bytes(1 + below(4)), bytes(1 + below(6))});
    }
    return result;
  }

  Offsets bookmarks(std::size_t end) {
    Offsets result;
    for (std::size_t offset = 0; offset <= end; ++offset) {
      if (below(3) == 0) result.push_back(static_cast<std::int64_t>(offset));
    }
    if (below(4) == 0) result.push_back(static_cast<std::int64_t>(end) + 1000);
    return result;
  }

 private:
  std::mt19937 random_;
};

TEST(JSONPresetApply, doesWhatEditAfterEditDoes) {
  Cases cases(20240701);
  for (int i = 0; i < 3000; ++i) {
    const auto bytes = cases.bytes(cases.below(120));
    const JSONPatchPreset preset = cases.preset();
    Naive expected{bytes, cases.bookmarks(bytes.size()), {}};
    TaskProgress progress;
    const auto result =
        applyJSONPreset(ByteBuffer(bytes), preset, expected.bookmarks, kNoLimit, progress);
    for (const auto& one : preset.rules) applyNaively(one, expected);
    ASSERT_EQ(result.bytes, ByteBuffer(expected.bytes)) << i;
    ASSERT_EQ(result.bookmarks, expected.bookmarks) << i;
    ASSERT_EQ(result.counts, expected.counts) << i;
    std::int64_t total = 0;
    for (const std::int64_t count : expected.counts) total += count;
    ASSERT_EQ(result.total, total);
  }
}

TEST(JSONPresetApply, findsExactlyWhichLimitsAreTooSmall) {
  Cases cases(20240702);
  for (int i = 0; i < 500; ++i) {
    const auto bytes = cases.bytes(1 + cases.below(60));
    const JSONPatchPreset preset = cases.preset();
    const auto size = std::ssize(bytes);
    Naive document{bytes, {}, {}};
    std::int64_t longest = 0;  // of all sizes that the document grows to
    for (const auto& one : preset.rules) {
      const auto before = std::ssize(document.bytes);
      applyNaively(one, document);
      if (std::ssize(document.bytes) > before) {
        longest = std::max(longest, std::ssize(document.bytes));
      }
    }
    const auto run = [&](std::int64_t limit) {
      TaskProgress progress;
      return applyJSONPreset(ByteBuffer(bytes), preset, {}, limit, progress).bytes;
    };
    ASSERT_EQ(run(longest), ByteBuffer(document.bytes)) << i << " " << size;
    if (longest > 0) {
      ASSERT_THAT([&] { run(longest - 1); }, failsWith(2609, kGrowsTooMuch)) << i;
    }
  }
}

TEST(JSONPresetApply, findsMatchesAcrossPieces) {
  // Long matches close together, then none for longer than is searched at a time.
  ByteBuffer document = ByteBuffer::filled(9 * kMiB, '.');
  Offsets places{0, 3, 4 * kMiB - 1, 8 * kMiB - 2, 9 * kMiB - 3};
  for (const std::int64_t at : places) document.replace(at, 3, searchBytes("abc"));
  TaskProgress progress;
  const auto result =
      applyJSONPreset(document, presetOf({rule("abc", "ABCD")}), places, kNoLimit, progress);
  EXPECT_EQ(result.total, 5);
  EXPECT_EQ(result.bytes.size(), document.size() + 5);
  const auto back =
      applyJSONPreset(result.bytes, presetOf({rule("ABCD", "abc")}), {}, kNoLimit, progress);
  EXPECT_TRUE(back.bytes == document);
}

// --- the report -------------------------------------------------------------------------------

TEST(JSONPresetReport, hasALineForEachRuleAndTheTotal) {
  const JSONPatchPreset preset{"Fix ä", {{"First", {1}, {2}}, {"Rule 2", {3}, {4}}}};
  JSONPresetResult result;
  result.counts = {12, 0};
  result.total = 12;
  EXPECT_EQ(jsonPresetReport(preset, result),
            "Preset: Fix ä\nFirst: 12 match(es)\nRule 2: 0 match(es)\n\nTotal: 12 replacement(s)");
  EXPECT_EQ(jsonPresetReport({"Empty", {}}, {}), "Preset: Empty\n\nTotal: 0 replacement(s)");
}

TEST(JSONPresetReport, isNotForgedByNames) {
  const std::string text = R"({"name": "T\n\nTotal: 9 replacement(s)\u001B[2J\u0000",
      "rules": [{"name": "a\r\nb\u202e", "find": "41", "replace": "42"}]})";
  const auto preset = JSONPatchPreset::parse(searchBytes(text));
  JSONPresetResult result;
  result.counts = {0};
  EXPECT_EQ(jsonPresetReport(preset, result),
            "Preset: T\\x0A\\x0ATotal: 9 replacement(s)\\x1B[2J\\x00\n"
            "a\\x0D\\x0Ab\\u{202E}: 0 match(es)\n"
            "\nTotal: 0 replacement(s)");
}

}  // namespace
}  // namespace quillmor
