#include "tools/patches/BoundedJSON.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"
#include "support/Stopping.h"
#include "tools/patches/BookmarkFile.h"
#include "tools/patches/JSONPatchPreset.h"

namespace quillmor {
namespace {

using BoundedJSON::GuardedText;
using BoundedJSON::kBytesBetweenLooks;

const BoundedJSON::Errors kErrors{Error::quillmor(1, "invalid"), Error::quillmor(2, "deep")};

TEST(BoundedJSON, handsOutEveryByteOnce) {
  std::string text;
  for (int i = 1; i < 256; ++i) text += static_cast<char>(i);
  GuardedText guarded(test::bytesOf(text), kErrors, nullptr);
  EXPECT_EQ(std::string(guarded.begin(), guarded.end()), text);
}

TEST(BoundedJSON, looksAtTheStopRequestAtEachPiece) {
  const std::string text(2 * kBytesBetweenLooks + 1, ' ');
  for (const std::size_t from : {std::size_t{1}, kBytesBetweenLooks}) {
    TaskProgress progress;
    GuardedText guarded(test::bytesOf(text), kErrors, &progress);
    auto at = guarded.begin();
    for (std::size_t i = 0; i < from; ++i) ++at;
    progress.requestStop();
    const std::size_t next = (from + kBytesBetweenLooks - 1) / kBytesBetweenLooks;
    for (std::size_t i = from; i < next * kBytesBetweenLooks; ++i) ++at;
    EXPECT_THAT([&] { ++at; }, test::isStopped());
  }
}

/// JSON of `count` values that take a parser long and much memory, and not its end.
std::string hostileText(std::size_t count) {
  std::string text = "[";
  for (std::size_t i = 0; i < count; ++i) text += R"({"":[[{}]]},)";
  return text;
}

TEST(BoundedJSON, leavesNothingBehindWhenStoppedInTheMiddle) {
  // Stopped within values of every kind.
  for (const char* end : {"", "\"text", "1234", "{\"key\"", "{\"key\":tru", "[[1,2"}) {
    std::string text = " [[{\"a\":[\"a text that is too long for the string itself\",1]}],";
    text += std::string(kBytesBetweenLooks - text.size() - std::string_view(end).size(), ' ') + end;
    ASSERT_EQ(text.size(), kBytesBetweenLooks);
    text += "x";
    TaskProgress progress;
    GuardedText guarded(test::bytesOf(text), kErrors, &progress);
    const auto parse = [&] {
      auto begin = guarded.begin();
      ++begin;  // looks at the request before there is one
      progress.requestStop();
      const auto value = nlohmann::json::parse(begin, guarded.end(), nullptr, false);
    };
    EXPECT_THAT(parse, test::isStopped()) << end;
  }
}

TEST(BoundedJSON, stopsReadersInTheMiddleOfHostileTexts) {
  const std::string text = hostileText(std::size_t{1} << 16);
  EXPECT_TRUE(test::stopsInTheMiddle([&](TaskProgress& progress) {
    BookmarkFile::bookmarkOffsets(test::bytesOf(text), &progress);
  }));
  EXPECT_TRUE(test::stopsInTheMiddle(
      [&](TaskProgress& progress) { JSONPatchPreset::parse(test::bytesOf(text), &progress); }));
}

TEST(BoundedJSON, parsesNothingWhenStoppedBefore) {
  TaskProgress stopped;
  stopped.requestStop();
  for (const char* text : {"", "x", "{}"}) {
    EXPECT_THAT([&] { BookmarkFile::bookmarkOffsets(test::bytesOf(text), &stopped); },
                test::isStopped());
    EXPECT_THAT([&] { JSONPatchPreset::parse(test::bytesOf(text), &stopped); }, test::isStopped());
  }
}

}  // namespace
}  // namespace quillmor
