// The tests themselves have no window: they watch the program over a message bus only.

#include <gtest/gtest.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
