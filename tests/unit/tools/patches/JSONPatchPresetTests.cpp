#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"
#include "support/Stopping.h"
#include "tools/patches/JSONPatchPreset.h"

namespace quillmor {
namespace {

using test::failsWith;
using testing::ElementsAre;
using testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;
using Rule = JSONPatchPreset::Rule;

JSONPatchPreset parsed(std::string_view text) {
  return JSONPatchPreset::parse(test::bytesOf(text));
}

auto failsToParse(int code, const std::string& message) {
  return testing::ResultOf([](const std::string& text) { return [text] { parsed(text); }; },
                           failsWith(code, message));
}

const auto kNotJSON = failsToParse(2602, "Preset file is not valid JSON.");
const auto kTooDeep = failsToParse(2612, "Preset file is nested too deeply to import safely.");
const auto kNoObject = failsToParse(2603, "Preset must be a JSON object.");
const auto kLongName = failsToParse(2604, "Preset name is too long to import safely.");
const auto kNoRules = failsToParse(2605, "Preset is missing rules array.");
const auto kTooManyRules = failsToParse(2606, "Preset contains too many rules to apply safely.");

auto isInvalidRule(int index, const std::string& reason) {
  return failsToParse(2607, "Invalid rule at index " + std::to_string(index) + ": " + reason);
}

auto hasLongRuleName(int index) {
  return failsToParse(
      2608, "Rule name at index " + std::to_string(index) + " is too long to import safely.");
}

constexpr const char* kRule = R"({"name":"A","find":"AA","replace":"BB"})";
constexpr const char* kBadFind = "\"find\" must be hexadecimal bytes.";
constexpr const char* kBadReplace = "\"replace\" must be hexadecimal bytes.";

std::string presetOf(const std::string& rules) {
  return R"({"name":"P","rules":[)" + rules + "]}";
}

std::string named(const std::string& name) {
  return R"({"rules":[],"name":)" + name + "}";
}

std::string ruleNamed(const std::string& name) {
  return R"({"find":"AA","replace":"BB","name":")" + name + "\"}";
}

std::string repeatedRules(std::int64_t count, const std::string& rule) {
  std::string text;
  for (std::int64_t i = 0; i < count; ++i) text += (i == 0 ? "" : ",") + rule;
  return text;
}

/// `count` scalars of four bytes each.
std::string longText(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += "\U0001F600";
  return text;
}

TEST(JSONPatchPreset, readsNameAndRules) {
  const JSONPatchPreset preset = parsed(R"({
    "rules": [
      {"name": "First", "find": "AA BB", "replace": "0xCCDD"},
      {"replace": "1", "find": "de:ad", "name": "Zw\u00f6lf", "note": [1, {}]}
    ],
    "name": "Test", "author": null
  })");
  EXPECT_EQ(preset.name, "Test");
  EXPECT_THAT(preset.rules, ElementsAre(Rule{"First", {0xAA, 0xBB}, {0xCC, 0xDD}},
                                        Rule{"Zwölf", {0xDE, 0xAD}, {1}}));
  EXPECT_THAT(parsed(presetOf("")).rules, IsEmpty());
}

TEST(JSONPatchPreset, callsNamelessPresetsUntitled) {
  EXPECT_EQ(parsed(R"({"rules":[]})").name, "Untitled");
  for (const char* name : {"null", "1", "[]", "{}", "true", "\"\""}) {
    EXPECT_EQ(parsed(named(name)).name, "Untitled") << name;
  }
  EXPECT_EQ(parsed(named("\" \"")).name, " ");
}

TEST(JSONPatchPreset, numbersNamelessRulesByTheirPlaceFromOne) {
  const std::string nameless = R"({"find":"AA","replace":"BB"})";
  const auto rules =
      parsed(presetOf(nameless + "," + kRule + "," + nameless + "," + ruleNamed(""))).rules;
  ASSERT_EQ(rules.size(), 4U);
  EXPECT_EQ(rules[0].name, "Rule 1");
  EXPECT_EQ(rules[1].name, "A");
  EXPECT_EQ(rules[2].name, "Rule 3");
  EXPECT_EQ(rules[3].name, "Rule 4");
  for (const char* name : {"null", "1", "[]", "{}", "false"}) {
    const auto unnamed = R"({"find":"AA","replace":"BB","name":)" + std::string(name) + "}";
    EXPECT_EQ(parsed(presetOf(kRule + ("," + unnamed))).rules.at(1).name, "Rule 2") << name;
  }
}

TEST(JSONPatchPreset, limitsNamesToScalars) {
  EXPECT_EQ(parsed(named('"' + longText(511) + '"')).name, longText(511));
  EXPECT_EQ(parsed(named('"' + longText(512) + '"')).name, longText(512));
  EXPECT_THAT(named('"' + longText(513) + '"'), kLongName);
  EXPECT_THAT(named('"' + std::string(513, 'x') + '"'), kLongName);
  EXPECT_EQ(parsed(presetOf(ruleNamed(longText(511)))).rules[0].name, longText(511));
  EXPECT_EQ(parsed(presetOf(ruleNamed(longText(512)))).rules[0].name, longText(512));
  EXPECT_THAT(presetOf(ruleNamed(longText(513))), hasLongRuleName(0));
  EXPECT_THAT(presetOf(kRule + ("," + ruleNamed(longText(513)))), hasLongRuleName(1));
}

TEST(JSONPatchPreset, limitsTheNumberOfRules) {
  EXPECT_EQ(parsed(presetOf(repeatedRules(511, kRule))).rules.size(), 511U);
  EXPECT_EQ(parsed(presetOf(repeatedRules(512, kRule))).rules.size(), 512U);
  EXPECT_THAT(presetOf(repeatedRules(513, kRule)), kTooManyRules);
  EXPECT_THAT(presetOf(repeatedRules(513, "0")), kTooManyRules);
}

TEST(JSONPatchPreset, mustBeAnObject) {
  for (const char* text : {"[]", "1", "\"rules\"", "null", "true", R"([{"rules":[]}])"}) {
    EXPECT_THAT(text, kNoObject) << text;
  }
}

TEST(JSONPatchPreset, needsAnArrayOfRules) {
  for (const char* text : {"{}", R"({"rules":null})", R"({"rules":{}})", R"({"rules":"[]"})",
                           R"({"rules":1})", R"({"Rules":[]})"}) {
    EXPECT_THAT(text, kNoRules) << text;
  }
}

TEST(JSONPatchPreset, needsObjectsAsRules) {
  for (const char* rule : {"null", "1", "\"AA\"", "[]", R"([{"find":"AA","replace":"BB"}])"}) {
    EXPECT_THAT(presetOf(std::string(kRule) + "," + rule),
                isInvalidRule(1, "a rule must be an object."))
        << rule;
  }
}

TEST(JSONPatchPreset, needsBytesToFindAndToReplace) {
  for (const char* value : {"null", "1", "[]", "\"\"", "\" ,\"", "\"GG\"", "\"ABC\"", "\"0x\"",
                            "\"AA\\u0000\"", "[\"AA\"]", "\"\xC3\xA4\""}) {
    EXPECT_THAT(presetOf(std::string(R"({"replace":"BB","find":)") + value + "}"),
                isInvalidRule(0, kBadFind))
        << value;
    EXPECT_THAT(presetOf(std::string(R"({"find":"AA","replace":)") + value + "}"),
                isInvalidRule(0, kBadReplace))
        << value;
  }
  EXPECT_THAT(presetOf(R"({"replace":"BB"})"), isInvalidRule(0, kBadFind));
  EXPECT_THAT(presetOf(R"({"find":"AA"})"), isInvalidRule(0, kBadReplace));
  EXPECT_THAT(presetOf("{}"), isInvalidRule(0, kBadFind));
}

TEST(JSONPatchPreset, rejectsWhatIsNotJSON) {
  for (const char* text :
       {"", "\xEF\xBB\xBF", "{", "{\"rules\":[]", R"({"rules":[],})", R"({"rules":[]}x)",
        "{'rules':[]}", R"({"rules":[],"x":1e400})", R"({"rules":[],"x":-1e400})",
        R"({"rules":[],"name":"\ud800"})", R"({"rules":[],"name":"\udfff"})",
        R"({"rules":[],"name":"\ud800\ud800"})", "{\"rules\":[],\"name\":\"\xFF\"}",
        "{\"rules\":[],\"name\":\"\xC0\x80\"}", "{\"rules\":[],\"name\":\"a\nb\"}",
        "{\"rules\":[]} // x"}) {
    EXPECT_THAT(text, kNotJSON) << text;
  }
  EXPECT_THAT(std::string("{\"rules\":[]}\0{", 14), kNotJSON);
  EXPECT_THAT(std::string("{\"rules\":[],\"name\":\"a\0b\"}", 25), kNotJSON);
}

TEST(JSONPatchPreset, rejectsDeepNesting) {
  const auto nested = [](std::size_t depth) {
    return R"({"rules":[],"x":)" + std::string(depth - 1, '[') + std::string(depth - 1, ']') + "}";
  };
  EXPECT_THAT(parsed(nested(64)).rules, IsEmpty());
  EXPECT_THAT(nested(65), kTooDeep);
  EXPECT_TRUE(testing::Value(nested(100'000), kTooDeep));
  // What is wrong first is told first.
  EXPECT_THAT("x" + nested(65), kNotJSON);
  EXPECT_THAT(std::string(64, '[') + "]}" + std::string(65, '['), kNotJSON);
  EXPECT_THAT(std::string(65, '['), kTooDeep);
}

TEST(JSONPatchPreset, acceptsOtherValuesBesides) {
  EXPECT_THAT(parsed(R"({"rules":[],"x":123456789012345678901234567890,"y":1e300})").rules,
              IsEmpty());
  EXPECT_THAT(parsed("\xEF\xBB\xBF{\"rules\":[]}\r\n").rules, IsEmpty());
  EXPECT_EQ(parsed(named(R"("\ud83d\ude00\u0000")")).name, std::string("\U0001F600\0", 5));
}

TEST(JSONPatchPreset, letsTheLastOfEqualKeysCount) {
  EXPECT_EQ(parsed(R"({"rules":[],"name":"a","name":"b"})").name, "b");
  EXPECT_THAT(R"({"rules":[],"rules":1})", kNoRules);
  const auto rules = parsed(presetOf(R"({"find":"XX","find":"AA","replace":"BB"})")).rules;
  EXPECT_EQ(rules.at(0).find, Bytes{0xAA});
}

TEST(JSONPatchPreset, reportsTheFirstFailureInTheOrderOfTheChecks) {
  const std::string tooLong = longText(513);
  const std::string longRule = ruleNamed(tooLong);
  EXPECT_THAT("[" + named('"' + tooLong + '"'), kNotJSON);
  EXPECT_THAT("[" + named('"' + tooLong + '"') + "]", kNoObject);
  EXPECT_THAT(R"({"rules":1,"name":")" + tooLong + "\"}", kLongName);
  EXPECT_THAT(R"({"name":")" + tooLong + R"(","rules":[)" + repeatedRules(513, "1") + "]}",
              kLongName);
  EXPECT_THAT(presetOf(repeatedRules(513, "1")), kTooManyRules);
  EXPECT_THAT(presetOf(longRule + ",1"), hasLongRuleName(0));
  EXPECT_THAT(presetOf("1," + longRule), isInvalidRule(0, "a rule must be an object."));
  EXPECT_THAT(presetOf(R"({"find":"AA","name":")" + tooLong + "\"}"),
              isInvalidRule(0, kBadReplace));
  EXPECT_THAT(presetOf(R"({"name":")" + tooLong + "\"}"), isInvalidRule(0, kBadFind));
}

class JSONPatchPresetFile : public test::FileAccessTest {};

TEST_F(JSONPatchPresetFile, isReadUpToTheLimit) {
  TaskProgress progress;
  const FileLocation file = folder.write("p.json", R"({"rules":[]})");
  EXPECT_EQ(JSONPatchPreset::read(file, 12, progress).name, "Untitled");
  EXPECT_THAT([&] { JSONPatchPreset::read(file, 11, progress); },
              failsWith(2601, "Preset file is too large to import safely."));
  const FileLocation bad = folder.write("bad.json", "{");
  EXPECT_THAT([&] { JSONPatchPreset::read(bad, 0, progress); },
              failsWith(2601, "Preset file is too large to import safely."));
  EXPECT_THAT([&] { JSONPatchPreset::read(bad, 1, progress); },
              failsWith(2602, "Preset file is not valid JSON."));
  EXPECT_THAT([&] { JSONPatchPreset::read(folder.location("none"), 5, progress); },
              test::failsWithPosix(ENOENT));
}

TEST_F(JSONPatchPresetFile, isNotCountedInTheProgressOfApplyingIt) {
  TaskProgress progress;
  const auto preset = JSONPatchPreset::read(
      folder.write("p.json", presetOf(std::string(kRule) + "," + kRule)), 1000, progress);
  EXPECT_LT(progress.fraction(), 0);
  progress.setTotal(1);
  EXPECT_EQ(progress.fraction(), 0);
  applyJSONPreset(ByteBuffer{1, 2, 3, 4}, preset, {}, 4, progress);
  EXPECT_EQ(progress.fraction(), 1);
}

TEST_F(JSONPatchPresetFile, isNotReadWhenStopped) {
  TaskProgress stopped;
  stopped.requestStop();
  const FileLocation file = folder.write("p.json", R"({"rules":[]})");
  EXPECT_THAT([&] { JSONPatchPreset::read(file, 12, stopped); }, test::isStopped());
}

}  // namespace
}  // namespace quillmor
