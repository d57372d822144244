// The tests themselves have no window: they watch the program over a message bus only.

#include <QCoreApplication>

#include "faults/Score.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new quillmor::test::ScoreListener);
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
