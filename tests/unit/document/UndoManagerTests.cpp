#include "document/UndoManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

namespace quillmor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A document of one number whose every change registers its inverse.
class UndoManagerTest : public testing::Test {
 protected:
  void set(int newValue, const std::string& name = "Set", const void* target = nullptr) {
    const int old = value;
    manager.registerUndo(target, [=, this] { set(old, name, target); });
    manager.setActionName(name);
    value = newValue;
  }

  UndoManager manager;
  int value = 0;
};

TEST_F(UndoManagerTest, walksBackAndForth) {
  EXPECT_FALSE(manager.canUndo());
  EXPECT_FALSE(manager.canRedo());
  set(1);
  set(2);
  manager.undo();
  EXPECT_EQ(value, 1);
  manager.undo();
  EXPECT_EQ(value, 0);
  EXPECT_FALSE(manager.canUndo());
  manager.undo();
  EXPECT_EQ(value, 0);
  manager.redo();
  manager.redo();
  EXPECT_EQ(value, 2);
  EXPECT_FALSE(manager.canRedo());
  manager.redo();
  EXPECT_EQ(value, 2);
  EXPECT_TRUE(manager.canUndo());
}

TEST_F(UndoManagerTest, aNewStepForgetsWhatCouldBeRedone) {
  set(1);
  manager.undo();
  EXPECT_TRUE(manager.canRedo());
  set(5);
  EXPECT_FALSE(manager.canRedo());
  manager.undo();
  EXPECT_EQ(value, 0);
}

TEST_F(UndoManagerTest, theNameTravelsWithTheStep) {
  EXPECT_EQ(manager.undoActionName(), "");
  set(1, "Edit");
  set(2, "Replace All");
  EXPECT_EQ(manager.undoActionName(), "Replace All");
  manager.undo();
  EXPECT_EQ(manager.undoActionName(), "Edit");
  EXPECT_EQ(manager.redoActionName(), "Replace All");
  manager.redo();
  EXPECT_EQ(manager.undoActionName(), "Replace All");
  EXPECT_EQ(manager.redoActionName(), "");
}

TEST_F(UndoManagerTest, anInverseWithoutANameTakesTheNameOfItsStep) {
  manager.registerUndo(nullptr, [this] { manager.registerUndo(nullptr, [] {}); });
  manager.setActionName("Crop");
  manager.undo();
  EXPECT_EQ(manager.redoActionName(), "Crop");
}

TEST_F(UndoManagerTest, namingWithoutARegistrationRenamesNothing) {
  set(1, "Edit");
  manager.registerUndo(nullptr, [this] { manager.setActionName("Wrong"); });
  manager.setActionName("Right");
  manager.undo();
  EXPECT_EQ(manager.undoActionName(), "Edit");
  manager.disableUndoRegistration();
  manager.setActionName("Wrong");
  EXPECT_EQ(manager.undoActionName(), "Edit");
}

TEST_F(UndoManagerTest, knowsWhatItIsDoing) {
  std::vector<std::string> seen;
  const auto note = [&] {
    seen.push_back(manager.isUndoing() ? "undo" : manager.isRedoing() ? "redo" : "neither");
  };
  manager.registerUndo(nullptr, [&] {
    note();
    manager.registerUndo(nullptr, note);
  });
  note();
  manager.undo();
  note();
  manager.redo();
  EXPECT_THAT(seen, ElementsAre("neither", "undo", "neither", "redo"));
}

TEST_F(UndoManagerTest, aStepWithoutInverseEndsWhatCanBeRedone) {
  set(1);
  manager.registerUndo(nullptr, [this] { value = 7; });
  set(2);
  manager.undo();
  EXPECT_TRUE(manager.canRedo());
  manager.undo();
  EXPECT_EQ(value, 7);
  EXPECT_FALSE(manager.canRedo());
  EXPECT_TRUE(manager.canUndo());
}

TEST_F(UndoManagerTest, aRedoStepWithoutInverseEndsWhatCanBeUndone) {
  set(1);
  manager.registerUndo(nullptr, [this] { manager.registerUndo(nullptr, [this] { value = 7; }); });
  manager.undo();
  manager.redo();
  EXPECT_EQ(value, 7);
  EXPECT_FALSE(manager.canUndo());
}

TEST_F(UndoManagerTest, removesTheStepsOfOneTarget) {
  const int one = 1;
  const int two = 2;
  set(1, "Set", &one);
  set(2, "Set", &two);
  set(3, "Set", &one);
  manager.undo();
  manager.removeAllActions(&one);
  EXPECT_FALSE(manager.canRedo());
  EXPECT_EQ(value, 2);
  manager.undo();
  EXPECT_EQ(value, 1);
  EXPECT_FALSE(manager.canUndo());
}

TEST_F(UndoManagerTest, removesAllSteps) {
  set(1);
  set(2);
  manager.undo();
  manager.removeAllActions();
  EXPECT_FALSE(manager.canUndo());
  EXPECT_FALSE(manager.canRedo());
}

TEST_F(UndoManagerTest, keepsTheNewestStepsWithinItsLevels) {
  manager.setLevelsOfUndo(2);
  EXPECT_EQ(manager.levelsOfUndo(), 2);
  for (int i = 1; i <= 4; ++i) set(i);
  manager.undo();
  manager.undo();
  EXPECT_FALSE(manager.canUndo());
  EXPECT_EQ(value, 2);
  manager.redo();
  manager.redo();
  EXPECT_EQ(value, 4);
}

TEST_F(UndoManagerTest, loweringTheLevelsForgetsTheOldestStepsAtOnce) {
  for (int i = 1; i <= 6; ++i) set(i);
  for (int i = 0; i < 3; ++i) manager.undo();
  manager.setLevelsOfUndo(1);
  manager.undo();
  EXPECT_EQ(value, 2);
  EXPECT_FALSE(manager.canUndo());
  manager.redo();
  EXPECT_EQ(value, 3);
  EXPECT_FALSE(manager.canRedo());
}

TEST_F(UndoManagerTest, zeroLevelsMeansAllSteps) {
  manager.setLevelsOfUndo(1);
  manager.setLevelsOfUndo(0);
  for (int i = 1; i <= 200; ++i) set(i);
  for (int i = 0; i < 200; ++i) manager.undo();
  EXPECT_EQ(value, 0);
}

TEST_F(UndoManagerTest, registersNothingWhileDisabled) {
  EXPECT_TRUE(manager.isUndoRegistrationEnabled());
  manager.disableUndoRegistration();
  manager.disableUndoRegistration();
  manager.enableUndoRegistration();
  EXPECT_FALSE(manager.isUndoRegistrationEnabled());
  set(1);
  EXPECT_FALSE(manager.canUndo());
  manager.enableUndoRegistration();
  EXPECT_TRUE(manager.isUndoRegistrationEnabled());
  set(2);
  manager.undo();
  EXPECT_EQ(value, 1);
}

TEST_F(UndoManagerTest, tellsItsObserverWhatHappened) {
  using Event = UndoManager::Event;
  std::vector<Event> events;
  manager.setObserver([&](Event event) { events.push_back(event); });
  set(1);
  manager.undo();
  manager.redo();
  EXPECT_THAT(events, ElementsAre(Event::didRegister, Event::didUndo, Event::didRedo));
  events.clear();
  manager.disableUndoRegistration();
  set(2);
  manager.enableUndoRegistration();
  manager.removeAllActions();
  manager.undo();
  manager.redo();
  EXPECT_THAT(events, IsEmpty());
}

TEST_F(UndoManagerTest, aStepThatThrowsStaysInItsPlace) {
  bool memoryIsFull = true;
  manager.setLevelsOfUndo(2);
  set(1);
  manager.registerUndo(nullptr, [&] {
    manager.registerUndo(nullptr, [] {});
    if (memoryIsFull) throw std::bad_alloc();
    value = 9;
  });
  manager.setActionName("Edit");
  EXPECT_THROW(manager.undo(), std::bad_alloc);
  EXPECT_FALSE(manager.isUndoing());
  EXPECT_FALSE(manager.canRedo());
  EXPECT_EQ(manager.undoActionName(), "Edit");
  memoryIsFull = false;
  manager.undo();
  EXPECT_EQ(value, 9);
  EXPECT_TRUE(manager.canRedo());
  manager.undo();
  EXPECT_EQ(value, 0);
}

using UndoManagerDeathTest = UndoManagerTest;

TEST_F(UndoManagerDeathTest, stopsTheProcessOnMisuse) {
  EXPECT_DEATH(manager.enableUndoRegistration(), "undo registration was disabled");
  EXPECT_DEATH(manager.setLevelsOfUndo(-1), "undo levels not negative");
  manager.registerUndo(nullptr, [this] { manager.undo(); });
  EXPECT_DEATH(manager.undo(), "no undo or redo while one is running");
}

TEST(UndoLevelCap, followsTheDocumentLimit) {
  EXPECT_EQ(undoLevelCap(1073741824), 16);
  EXPECT_EQ(undoLevelCap(4294967296), 16);
  EXPECT_EQ(undoLevelCap(1073741823), 15);
  EXPECT_EQ(undoLevelCap(536870912), 8);
  EXPECT_EQ(undoLevelCap(268435456), 4);
  EXPECT_EQ(undoLevelCap(268435455), 4);
  EXPECT_EQ(undoLevelCap(0), 4);
}

}  // namespace
}  // namespace quillmor
