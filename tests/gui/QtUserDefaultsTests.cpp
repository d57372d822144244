#include "platform_qt/QtUserDefaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <limits>
#include <map>

namespace quillmor {
namespace {

using namespace std::string_literals;
using testing::Optional;

constexpr auto kNone = std::nullopt;

class QtUserDefaultsTest : public testing::Test {
 protected:
  /// Settings read again from the file, as after a new start.
  QtUserDefaults open() const { return QtUserDefaults(folder_.filePath("settings.ini")); }

  QTemporaryDir folder_;
};

TEST_F(QtUserDefaultsTest, holdsNothingAtFirst) {
  EXPECT_EQ(open().integer("Quillmor.bytesPerRow"), kNone);
  EXPECT_EQ(open().boolean("Quillmor.insertMode"), kNone);
}

TEST_F(QtUserDefaultsTest, keepsValuesFromOneStartToTheNext) {
  const std::map<std::string, std::int64_t> numbers = {
      {"zero", 0},
      {"one", 1},
      {"rows", 16},
      {"low", std::numeric_limits<std::int64_t>::min()},
      {"high", std::numeric_limits<std::int64_t>::max()}};
  {
    QtUserDefaults defaults(folder_.filePath("settings.ini"));
    for (const auto& [key, value] : numbers) defaults.setInteger(key, value);
    defaults.setBoolean("on", true);
    defaults.setBoolean("off", false);
  }
  QtUserDefaults defaults(folder_.filePath("settings.ini"));
  for (const auto& [key, value] : numbers) EXPECT_THAT(defaults.integer(key), Optional(value));
  EXPECT_THAT(defaults.boolean("on"), Optional(true));
  EXPECT_THAT(defaults.boolean("off"), Optional(false));
}

TEST_F(QtUserDefaultsTest, neverReadsOneTypeAsTheOther) {
  QtUserDefaults defaults(folder_.filePath("settings.ini"));
  defaults.setInteger("number", 1);
  defaults.setBoolean("flag", true);
  EXPECT_EQ(defaults.boolean("number"), kNone);
  EXPECT_EQ(defaults.integer("flag"), kNone);
  defaults.setInteger("flag", 5);
  EXPECT_EQ(defaults.boolean("flag"), kNone);
  EXPECT_THAT(defaults.integer("flag"), Optional(5));
}

TEST_F(QtUserDefaultsTest, tellsKeysOfAnyBytesApart) {
  const std::vector<std::string> keys = {"Quillmor.session.offset./tmp/a//b/\xFF.bin",
                                         "Quillmor.session.offset./tmp/a/b/\xFF.bin",
                                         "Quillmor.session.offset./tmp/a//b/\xFE.bin",
                                         "Quillmor.session.offset./tmp/a//b/\uFFFD.bin",
                                         "Quillmor.session.offset./tmp/a//b/%FF.bin",
                                         "Quillmor.session.offset./tmp/A//B/\xFF.bin",
                                         "/",
                                         "//",
                                         "a\\b",
                                         "a/b",
                                         "a/",
                                         "a",
                                         "\u00E4",
                                         "a\u0308",
                                         "line\nbreak=[x];",
                                         "nul\0nul"s,
                                         "nul",
                                         "General/a",
                                         "%",
                                         "%25",
                                         ""};
  {
    QtUserDefaults defaults(folder_.filePath("settings.ini"));
    for (std::size_t i = 0; i < keys.size(); ++i) {
      defaults.setInteger(keys[i], static_cast<std::int64_t>(i));
    }
  }
  QtUserDefaults defaults(folder_.filePath("settings.ini"));
  for (std::size_t i = 0; i < keys.size(); ++i) {
    EXPECT_THAT(defaults.integer(keys[i]), Optional(static_cast<std::int64_t>(i)))
        << testing::PrintToString(keys[i]);
  }
}

TEST_F(QtUserDefaultsTest, findsNoValueInDamagedText) {
  QFile file(folder_.filePath("settings.ini"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("[General]\na=12x\nb=TRUE\nc=\nd=9223372036854775808\ne=1, 2\nf=yes\n");
  file.close();
  QtUserDefaults defaults(folder_.filePath("settings.ini"));
  for (const char* key : {"a", "b", "c", "d", "e", "f"}) {
    EXPECT_EQ(defaults.integer(key), kNone) << key;
    EXPECT_EQ(defaults.boolean(key), kNone) << key;
  }
}

TEST_F(QtUserDefaultsTest, keepsTheUsersOwnSettingsInTheConfigurationDirectory) {
  { QtUserDefaults().setInteger("Quillmor.test", 42); }
  EXPECT_THAT(QtUserDefaults().integer("Quillmor.test"), Optional(42));
  EXPECT_TRUE(QFile::exists(qEnvironmentVariable("XDG_CONFIG_HOME") + "/tenvale/Quillmor.conf"));
}

}  // namespace
}  // namespace quillmor
