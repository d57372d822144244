// Tests of saves under faults. Their figures make the table of reliability.

#include "faults/Score.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new quillmor::test::ScoreListener);
  return RUN_ALL_TESTS();
}
