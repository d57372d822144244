#include "platform/TransientUserDefaults.h"

#include <gtest/gtest.h>

namespace quillmor {
namespace {

TEST(TransientUserDefaults, readsWhatWasSetBefore) {
  auto base = std::make_unique<MemoryUserDefaults>();
  base->setInteger("count", 3);
  base->setBoolean("flag", true);
  const TransientUserDefaults defaults(std::move(base));
  EXPECT_EQ(defaults.integer("count"), 3);
  EXPECT_EQ(defaults.boolean("flag"), true);
  EXPECT_EQ(defaults.integer("other"), std::nullopt);
  EXPECT_EQ(defaults.boolean("other"), std::nullopt);
}

TEST(TransientUserDefaults, keepsChangesToItself) {
  auto held = std::make_unique<MemoryUserDefaults>();
  MemoryUserDefaults& base = *held;
  base.setInteger("count", 3);
  base.setBoolean("flag", true);
  TransientUserDefaults defaults(std::move(held));
  defaults.setInteger("count", 4);
  defaults.setBoolean("flag", false);
  defaults.setInteger("new", 5);
  EXPECT_EQ(defaults.integer("count"), 4);
  EXPECT_EQ(defaults.boolean("flag"), false);
  EXPECT_EQ(defaults.integer("new"), 5);
  EXPECT_EQ(base.integer("count"), 3);
  EXPECT_EQ(base.boolean("flag"), true);
  EXPECT_EQ(base.integer("new"), std::nullopt);
}

}  // namespace
}  // namespace quillmor
