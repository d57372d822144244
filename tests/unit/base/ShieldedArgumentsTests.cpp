#include "base/ShieldedArguments.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace quillmor {
namespace {

using Texts = std::vector<std::string>;

/// `text` behind the byte that no argument can hold.
std::string shielded(const std::string& text) {
  return std::string(1, '\0') + text;
}

/// What `shieldedArguments` makes of them, from the front.
Texts fromTheFront(const Texts& arguments) {
  Texts result = shieldedArguments(arguments);
  std::ranges::reverse(result);
  return result;
}

TEST(ShieldedArguments, comeFromTheBack) {
  EXPECT_EQ(shieldedArguments({"a", "b", "c"}),
            (Texts{shielded("c"), shielded("b"), shielded("a")}));
  EXPECT_EQ(shieldedArguments({}), Texts{});
}

TEST(ShieldedArguments, areTheValues) {
  for (const std::string value : {"", "a", "[a,b]", "[]", "{}", "%%", "a=b", "=", " -x", "a--"}) {
    EXPECT_EQ(fromTheFront({value}), Texts{shielded(value)}) << value;
  }
}

TEST(ShieldedArguments, areNotTheOptions) {
  for (const std::string option : {"-", "--", "-x", "-oOUT", "--help", "---", "-1", "-a=b"}) {
    EXPECT_EQ(fromTheFront({option}), Texts{option}) << option;
  }
}

TEST(ShieldedArguments, areTheValuesWithinOptions) {
  const std::string shield(1, '\0');
  EXPECT_EQ(fromTheFront({"--mode="}), Texts{"--mode=" + shield});
  EXPECT_EQ(fromTheFront({"--mode=[a]"}), Texts{"--mode=" + shield + "[a]"});
  EXPECT_EQ(fromTheFront({"--mode=a=b"}), Texts{"--mode=" + shield + "a=b"});
  EXPECT_EQ(fromTheFront({"-o", "[a]"}), (Texts{"-o", shielded("[a]")}));
}

TEST(ShieldedArguments, areAllBehindTwoDashes) {
  EXPECT_EQ(fromTheFront({"--a=1", "-b", "--", "-c", "--d=1", "--", "e"}),
            (Texts{"--a=" + shielded("1"), "-b", "--", shielded("-c"), shielded("--d=1"),
                   shielded("--"), shielded("e")}));
}

TEST(ShieldedArguments, areUnshieldedToWhatTheyWere) {
  for (const std::string text :
       {"", "a", "[a,b]", "-x", "--", "--mode=[a]", "--mode=", "{}", "\xFF"}) {
    EXPECT_EQ(unshielded(shieldedArguments({text}).front()), text);
    EXPECT_EQ(unshielded(shieldedArguments({"--", text}).front()), text);
  }
  EXPECT_EQ(unshielded("not expected: " + shielded("a") + " " + shielded("b")),
            "not expected: a b");
}

}  // namespace
}  // namespace quillmor
