// The names of temporary files, and destinations whose names leave little room for them.

#include "fileaccess/TemporaryOutput.h"

#include "support/AtomicTextFileWriterFixture.h"
#include "support/ErrorMatchers.h"

namespace quillmor {
namespace {

using SecureFileAccess::isTemporaryOutputName;
using test::failsWithPosix;

class TemporaryOutputTest : public test::AtomicTextFileWriterTest {
 protected:
  /// What the name of the temporary file of `name` has in the place of that name.
  std::string nameKept(const std::string& name) const {
    const AtomicTextFileWriter writer(folder.location(name), {});
    const std::string temporary = temporaryName();
    EXPECT_TRUE(isTemporaryOutputName(temporary)) << temporary;
    EXPECT_LE(temporary.size(), 255U);
    const std::size_t end = temporary.rfind(".quillmor.");
    return temporary.substr(1, end - 1);
  }
};

TEST_F(TemporaryOutputTest, hasTheWholeNameOfItsDestinationWhereItFits) {
  for (const std::size_t length : {1, 203, 204})
    EXPECT_EQ(nameKept(std::string(length, 'n')), std::string(length, 'n'));
}

TEST_F(TemporaryOutputTest, hasTheStartOfALongerName) {
  for (const std::size_t length : {205, 206, 255})
    EXPECT_EQ(nameKept(std::string(length, 'n')), std::string(204, 'n'));
}

TEST_F(TemporaryOutputTest, cutsNoCharacter) {
  for (const std::string character : {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
    for (std::size_t before = 204 - character.size(); before <= 204; ++before) {
      const std::string start(before, 'n');
      const bool fits = before + character.size() <= 204;
      EXPECT_EQ(nameKept(start + character + "end"), fits ? start + character : start) << before;
    }
  }
}

TEST_F(TemporaryOutputTest, cutsWhatIsNotUtf8AnywhereButNeverFails) {
  EXPECT_EQ(nameKept(std::string(255, '\x80')), std::string(204, '\x80'));
  EXPECT_EQ(nameKept(std::string(255, '\xFF')), std::string(204, '\xFF'));
  EXPECT_EQ(nameKept(std::string(203, 'n') + std::string(52, '\xE2')),
            std::string(203, 'n') + "\xE2");
}

TEST_F(TemporaryOutputTest, servesDestinationsWithNamesOfUpTo255Bytes) {
  for (const std::size_t length : {204, 205, 255}) {
    const std::string name(length, 'n');
    exportTo(folder.location(name));
    exportTo(folder.location(name));
    EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt", name));
    EXPECT_EQ(folder.read(name), "new content");
    std::filesystem::remove(folder.path() / name);
  }
  EXPECT_THAT(exporting(folder.location(std::string(256, 'n'))),
              failsWithPosix(ENAMETOOLONG, "File name too long"));
  expectNothingHappened();
}

TEST_F(TemporaryOutputTest, isToldFromOtherFilesByItsName) {
  const std::string uuid = "01234567-89AB-4DEF-8123-456789ABCDEF";
  EXPECT_TRUE(isTemporaryOutputName(".a.quillmor." + uuid + ".tmp"));
  EXPECT_TRUE(isTemporaryOutputName("..quillmor..quillmor." + uuid + ".tmp"));
  for (const std::string& name :
       {std::string(), uuid, ".quillmor." + uuid + ".tmp", "..quillmor." + uuid + ".tmp",
        "a.quillmor." + uuid + ".tmp", ".a.quillmor." + uuid + ".qrec", ".a.quillmor." + uuid,
        ".a.quillmor." + uuid + ".tmp~", ".a.quillmor" + uuid + ".tmp", ".a.other." + uuid + ".tmp",
        ".a.quillmor.x" + uuid.substr(1) + ".tmp", ".a.quillmor." + uuid + "0.tmp"})
    EXPECT_FALSE(isTemporaryOutputName(name)) << name;
}

}  // namespace
}  // namespace quillmor
