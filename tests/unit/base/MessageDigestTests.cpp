
#include <openssl/evp.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "base/MessageDigest.h"
#include "support/ErrorMatchers.h"
#include "tools/checksum/Checksum.h"

namespace quillmor {
namespace {

std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string digest(const char* algorithm, std::string_view text, std::size_t pieceSize = 1000) {
  MessageDigest digest(algorithm);
  for (std::size_t at = 0; at < text.size(); at += pieceSize) {
    digest.add(bytesOf(text.substr(at, pieceSize)));
  }
  return digest.finished();
}

constexpr std::string_view kLowercase = "abcdefghijklmnopqrstuvwxyz";
constexpr std::string_view kTwoBlocks = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
const std::string kMillion(1'000'000, 'a');

TEST(MessageDigest, isMd5ByTheTestSuiteOfRfc1321) {
  EXPECT_EQ(digest("MD5", ""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(digest("MD5", "a"), "0cc175b9c0f1b6a831c399e269772661");
  EXPECT_EQ(digest("MD5", "abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(digest("MD5", "message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(digest("MD5", kLowercase), "c3fcd3d76192e4007dfb496cca67e13b");
  EXPECT_EQ(digest("MD5", "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
            "d174ab98d277d9f5a5611c2c9f419d9f");
  EXPECT_EQ(
      digest("MD5",
             "12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
      "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(MessageDigest, isSha1ByTheExamplesOfFips180) {
  EXPECT_EQ(digest("SHA1", ""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
  EXPECT_EQ(digest("SHA1", "abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
  EXPECT_EQ(digest("SHA1", kTwoBlocks), "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
  EXPECT_EQ(digest("SHA1", kMillion), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(MessageDigest, isSha256ByTheExamplesOfFips180) {
  EXPECT_EQ(digest("SHA256", ""),
            "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(digest("SHA256", "abc"),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(digest("SHA256", kTwoBlocks),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(digest("SHA256", kMillion),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(MessageDigest, isTheSameHoweverTheBytesAreCut) {
  const std::string text = kMillion.substr(0, 200);
  for (const std::size_t pieceSize : {1U, 7U, 63U, 64U, 65U, 199U}) {
    EXPECT_EQ(digest("SHA256", text, pieceSize), digest("SHA256", text)) << pieceSize;
  }
}

TEST(MessageDigest, saysWhichDigestTheSystemLacks) {
  EXPECT_THAT(
      [] { MessageDigest("MD0"); },
      test::failsWith(2401,
                      "The MD0 digest is not available: this system's cryptographic library "
                      "does not offer it."));
}

/// A system whose library offers approved algorithms only, while it lives.
class ApprovedAlgorithmsOnly {
 public:
  ApprovedAlgorithmsOnly() { EVP_default_properties_enable_fips(nullptr, 1); }
  ~ApprovedAlgorithmsOnly() { EVP_default_properties_enable_fips(nullptr, 0); }
  ApprovedAlgorithmsOnly(const ApprovedAlgorithmsOnly&) = delete;
  ApprovedAlgorithmsOnly& operator=(const ApprovedAlgorithmsOnly&) = delete;
};

TEST(MessageDigest, failsTheReportsWhereMd5IsForbidden) {
  const ApprovedAlgorithmsOnly restricted;
  const auto refuses = test::failsWith(
      2401,
      "The MD5 digest is not available: this system's cryptographic library does not offer it.");
  TaskProgress progress;
  EXPECT_THAT([&] { Checksum::report(bytesOf("abc"), {}, progress); }, refuses);
  EXPECT_THAT([&] { Checksum::rangeReport(bytesOf("abc"), {}, progress); }, refuses);
}

}  // namespace
}  // namespace quillmor
