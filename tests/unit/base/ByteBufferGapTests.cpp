// Edits far from both ends of a large buffer: when they leave a gap, what closes it, and random
// edits and reads around it against a plain vector.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <new>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/ByteBlock.h"
#include "base/ByteBuffer.h"
#include "base/ByteUnits.h"
#include "base/HugePageMove.h"
#include "support/FailingAllocation.h"
#include "support/MemoryProbes.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::int64_t kFar = ByteBuffer::kMinGapDistance;
constexpr std::array<std::uint8_t, 1> kByte{0x42};

Bytes pattern(std::int64_t size) {
  Bytes bytes(static_cast<std::size_t>(size));
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<std::uint8_t>(i * 2654435761U >> 24);
  }
  return bytes;
}

/// A buffer of `size` bytes after an insertion in its middle, and the same bytes in a vector.
struct Typed {
  explicit Typed(std::int64_t size = 4 * kFar) : model(pattern(size)), buffer(model) {
    insert(size / 2, kByte);
  }

  void insert(std::int64_t offset, std::span<const std::uint8_t> bytes) {
    buffer.insert(offset, bytes);
    model.insert(model.begin() + offset, bytes.begin(), bytes.end());
  }
  void erase(std::int64_t offset, std::int64_t removed) {
    buffer.erase(offset, removed);
    model.erase(model.begin() + offset, model.begin() + offset + removed);
  }
  /// Leaves the gap as it is.
  bool agrees() const { return buffer.size() == std::ssize(model) && buffer.hasAt(0, model); }

  Bytes model;
  ByteBuffer buffer;
};

TEST(ByteBufferGap, opensFarFromBothEndsOnly) {
  for (const auto& [offset, opens] : std::initializer_list<std::pair<std::int64_t, bool>>{
           {0, false}, {kFar - 1, false}, {kFar, true}, {kFar + 1, true}}) {
    for (const bool fromEnd : {false, true}) {
      Typed typed(4 * kFar);
      ASSERT_FALSE(typed.buffer.isContiguous());
      EXPECT_NE(typed.buffer.data(), nullptr);
      ASSERT_TRUE(typed.buffer.isContiguous());
      typed.insert(fromEnd ? typed.buffer.size() - offset : offset, kByte);
      EXPECT_EQ(typed.buffer.isContiguous(), !opens) << offset << " from the end: " << fromEnd;
      EXPECT_TRUE(typed.agrees());
    }
  }
}

TEST(ByteBufferGap, opensInBuffersThatAreLargeEnoughOnly) {
  EXPECT_TRUE(Typed(2 * kFar - 1).buffer.isContiguous());
  EXPECT_FALSE(Typed(2 * kFar).buffer.isContiguous());
  EXPECT_FALSE(Typed(2 * kFar + 1).buffer.isContiguous());
}

TEST(ByteBufferGap, closesWhenAnEndComesNear) {
  Typed typed;
  typed.erase(0, kFar);
  EXPECT_FALSE(typed.buffer.isContiguous());
  typed.erase(0, 1);
  EXPECT_FALSE(typed.buffer.isContiguous());
  typed.erase(0, kFar - 1);
  EXPECT_TRUE(typed.buffer.isContiguous());
  EXPECT_TRUE(typed.agrees());
}

TEST(ByteBufferGap, staysOpenForEveryAccessThatNeedsNotAllInOnePiece) {
  Typed typed;
  const std::int64_t middle = 2 * kFar;
  EXPECT_EQ(typed.buffer[middle], 0x42);
  EXPECT_EQ(typed.buffer[middle - 1], typed.model[static_cast<std::size_t>(middle - 1)]);
  EXPECT_EQ(typed.buffer[middle + 1], typed.model[static_cast<std::size_t>(middle + 1)]);
  Bytes copied(64);
  typed.buffer.copyTo(middle - 32, copied);
  EXPECT_EQ(std::memcmp(copied.data(), &typed.model[static_cast<std::size_t>(middle - 32)], 64), 0);
  EXPECT_TRUE(typed.buffer.hasAt(middle - 32, copied));
  copied.back() ^= 1;
  EXPECT_FALSE(typed.buffer.hasAt(middle - 32, copied));
  EXPECT_EQ(typed.buffer.slice(middle - 10, 20).size(), 20);
  EXPECT_EQ(typed.buffer.span(0, middle + 1).back(), 0x42);
  EXPECT_EQ(typed.buffer.span(middle + 1, 5).size(), 5U);
  typed.buffer.set(middle + 1, 9);
  typed.buffer.makeUnique();
  const ByteBuffer moved = std::move(typed.buffer);
  EXPECT_FALSE(moved.isContiguous());
  EXPECT_EQ(moved[middle + 1], 9);
}

TEST(ByteBufferGap, closesForWhatNeedsAllInOnePiece) {
  const std::initializer_list<void (*)(ByteBuffer&)> closing = {
      [](ByteBuffer& buffer) { buffer.data(); },
      [](ByteBuffer& buffer) { EXPECT_EQ(std::ssize(buffer.span()), buffer.size()); },
      [](ByteBuffer& buffer) { EXPECT_EQ(std::ssize(buffer.mutableSpan()), buffer.size()); },
      [](ByteBuffer& buffer) { EXPECT_TRUE(ByteBuffer(buffer).isContiguous()); },
      [](ByteBuffer& buffer) { EXPECT_TRUE(buffer.slice(0, buffer.size()).isContiguous()); },
      [](ByteBuffer& buffer) { EXPECT_TRUE(buffer == buffer); },
      [](ByteBuffer& buffer) { EXPECT_EQ(buffer.span(2 * kFar, 2).front(), 0x42); },
  };
  for (const auto& close : closing) {
    Typed typed;
    ASSERT_FALSE(typed.buffer.isContiguous());
    close(typed.buffer);
    EXPECT_TRUE(typed.buffer.isContiguous());
    EXPECT_TRUE(typed.agrees());
  }
}

TEST(ByteBufferGap, movesNothingFarFromThePlaceWhereOneTypes) {
  Typed typed;
  std::int64_t caret = 2 * kFar + 1;
  const auto* const head = typed.buffer.span(0, 1).data();
  const auto* const tail = typed.buffer.span(typed.buffer.size() - 1, 1).data();
  for (int i = 0; i < 1000; ++i) typed.insert(caret++, kByte);
  for (int i = 0; i < 1500; ++i) typed.erase(--caret, 1);
  for (int i = 0; i < 1500; ++i) typed.erase(caret, 1);
  for (int i = 0; i < 2000; ++i) typed.insert(caret - 200, kByte);
  EXPECT_EQ(typed.buffer.span(0, 1).data(), head);
  EXPECT_EQ(typed.buffer.span(typed.buffer.size() - 1, 1).data(), tail);
  EXPECT_TRUE(typed.agrees());
}

TEST(ByteBufferGap, removingInTheMiddleMovesNothingAtFirst) {
  const Bytes bytes = pattern(4 * kFar);
  ByteBuffer buffer(bytes);
  const auto* const head = buffer.data();
  const auto* const tail = head + 4 * kFar - 1;
  buffer.erase(2 * kFar, 3);
  EXPECT_FALSE(buffer.isContiguous());
  EXPECT_EQ(buffer.span(0, 1).data(), head);
  EXPECT_EQ(buffer.span(buffer.size() - 1, 1).data(), tail);
}

TEST(ByteBufferGap, isNeverLargerThanItsLimit) {
  constexpr std::int64_t kMax = ByteBuffer::kMaxGap;
  for (const std::int64_t more : {-1, 0, 1}) {
    ByteBuffer buffer = ByteBuffer::filled(8 * kMax, 3);
    buffer.erase(3 * kMax, kMax + more);
    EXPECT_EQ(buffer.isContiguous(), more > 0);
    // Fills the gap or, where it has been closed, makes room at an end.
    buffer.insert(2 * kMax, ByteBuffer::filled(kMax + more, 4).span());
    EXPECT_TRUE(buffer.isContiguous());
    EXPECT_EQ(buffer.size(), 8 * kMax);
    EXPECT_EQ(buffer.slice(2 * kMax, kMax + more), ByteBuffer::filled(kMax + more, 4));
  }
}

TEST(ByteBufferGap, givesTheMemoryOfLargeErasuresBack) {
  constexpr std::int64_t kSize = 64 * kMiB;
  ByteBuffer buffer = ByteBuffer::filled(kSize, 1);
  const auto* const begin = buffer.data();
  const auto* const end = begin + kSize;
  std::int64_t caret = kSize / 2;
  for (int i = 0; i < 20; ++i) buffer.erase(caret -= kMiB, kMiB);
  EXPECT_LE(residentBytes(begin, end),
            buffer.size() + ByteBuffer::kMaxGap + 2 * ByteBlock::kReleaseThreshold);
  EXPECT_EQ(buffer, ByteBuffer::filled(44 * kMiB, 1));
}

TEST(ByteBufferGap, movesPagesWhereTheWayIsLong) {
  for (const bool nearerToTheEnd : {false, true}) {
    for (const std::int64_t less : {1, 0}) {
      const std::int64_t side = kPageMoveThreshold - less;
      ByteBuffer buffer(pattern(3 * kPageMoveThreshold));
      const auto* const begin = buffer.data();
      buffer.insert(nearerToTheEnd ? buffer.size() - side : side, kByte);
      const auto* const last = buffer.span(buffer.size() - 1, 1).data();
      const std::int64_t moved = less == 1 ? ByteBuffer::kGapRoom : kHugePageSize;
      EXPECT_EQ(begin - buffer.span(0, 1).data(), nearerToTheEnd ? 0 : moved);
      EXPECT_EQ(last + 1 - (begin + 3 * kPageMoveThreshold), nearerToTheEnd ? moved : 0);
    }
  }
}

TEST(ByteBufferGap, comesAndGoesWithoutATraceInALargeBuffer) {
  constexpr std::int64_t kSize = 3 * kPageMoveThreshold;
  Typed typed(kSize);
  const auto* const begin = typed.buffer.data() - 4 * kMiB;
  for (const std::int64_t change : {1, -1, 5000, -5000, 200000, -200000}) {
    const std::int64_t place = typed.buffer.size() / 2 + change % 7;
    if (change > 0) typed.insert(place, Bytes(static_cast<std::size_t>(change), 9));
    // The gap is there before bytes are removed, and is larger afterwards than it was made.
    if (change < 0) typed.insert(place, kByte);
    if (change < 0) typed.erase(place, 1 - change);
    EXPECT_FALSE(typed.buffer.isContiguous());
    EXPECT_TRUE(typed.agrees());
    EXPECT_EQ(std::ssize(typed.buffer.span()), std::ssize(typed.model));
    EXPECT_TRUE(typed.agrees());
  }
#if QUILLMOR_MEMORY_IS_MEASURABLE
  EXPECT_LE(residentBytes(begin, begin + kSize + 8 * kMiB), kSize + 8 * kMiB);
#endif
}

TEST(ByteBufferGap, typesAtFarPlacesInTurn) {
  Typed typed(4 * kPageMoveThreshold);
  for (int round = 0; round < 4; ++round) {
    for (const std::int64_t percent : {25, 75, 40, 60, 10, 90}) {
      typed.insert(typed.buffer.size() / 100 * percent, kByte);
      EXPECT_FALSE(typed.buffer.isContiguous());
    }
    typed.erase(typed.buffer.size() / 3, 70000);
  }
  EXPECT_TRUE(typed.agrees());
}

TEST(ByteBufferGap, insertsAPartOfItself) {
  Typed typed;
  const std::int64_t middle = 2 * kFar;
  const Bytes before(typed.model.begin() + middle - 50, typed.model.begin() + middle);
  typed.buffer.insert(middle + 1, typed.buffer.span(middle - 50, 50));
  typed.model.insert(typed.model.begin() + middle + 1, before.begin(), before.end());
  EXPECT_TRUE(typed.agrees());
  const Bytes across(typed.model.begin() + middle, typed.model.begin() + middle + 200);
  typed.buffer.replace(middle - 100, 200, typed.buffer.span(middle, 200));
  std::ranges::copy(across, typed.model.begin() + middle - 100);
  EXPECT_TRUE(typed.agrees());
}

TEST(ByteBufferGap, aCopyKeepsWhatItWasWhenTheOwnerTypesOn) {
  Typed typed;
  const ByteBuffer snapshot = typed.buffer;
  const Bytes before = typed.model;
  typed.insert(2 * kFar, kByte);
  typed.insert(2 * kFar, kByte);
  EXPECT_FALSE(typed.buffer.isContiguous());
  EXPECT_TRUE(snapshot.isContiguous());
  EXPECT_TRUE(typed.agrees());
  EXPECT_TRUE(snapshot.hasAt(0, before));
}

TEST(ByteBufferGap, makesRoomAnewWhenItIsUsedUp) {
  Typed typed;
  const Bytes more(static_cast<std::size_t>(ByteBuffer::kGapRoom - 1), 7);
  typed.insert(2 * kFar, more);
  EXPECT_TRUE(typed.buffer.isContiguous());
  typed.insert(2 * kFar, kByte);
  EXPECT_FALSE(typed.buffer.isContiguous());
  EXPECT_TRUE(typed.agrees());
}

#if QUILLMOR_NEW_CAN_FAIL

TEST(ByteBufferGap, staysAsItWasWhenAnEditRunsOutOfMemory) {
  // As much is inserted as the mapping has no room for.
  Typed typed;
  const ByteBuffer inserted = ByteBuffer::filled(64 * kMiB, 5);
  {
    const NoMoreAddressSpace limit;
    EXPECT_THROW(typed.buffer.insert(2 * kFar, inserted.span()), std::bad_alloc);
  }
  EXPECT_TRUE(typed.agrees());
  typed.insert(2 * kFar, kByte);
  {
    const FailingAllocation failure;
    const auto part = typed.buffer.span(2 * kFar - 100, 50);
    EXPECT_THROW(typed.buffer.insert(2 * kFar, part), std::bad_alloc);
  }
  EXPECT_TRUE(typed.agrees());
  EXPECT_FALSE(typed.buffer.isContiguous());
}

TEST(ByteBufferGap, opensWithoutMemoryForASecondThread) {
  Bytes model = pattern(32 * kMiB);
  ByteBuffer buffer(model);
  {
    const FailingAllocation failure(1, 100);
    buffer.insert(16 * kMiB, kByte);
  }
  model.insert(model.begin() + 16 * kMiB, 0x42);
  EXPECT_TRUE(buffer.hasAt(0, model));
}

#endif

/// Edits at a caret that mostly stays near, with reads between, against a plain vector.
class TypedBuffer {
 public:
  TypedBuffer(unsigned seed, std::int64_t size) : random_(seed), typed_(size), caret_(size / 2) {}

  void act() {
    moveCaret();
    edit();
    read();
    ASSERT_EQ(typed_.buffer.size(), std::ssize(typed_.model));
  }

  void check() const {
    ASSERT_TRUE(typed_.agrees());
    for (const auto& [buffer, model] : snapshots_) ASSERT_TRUE(buffer.hasAt(0, model));
  }
  int editsWithGap() const { return editsWithGap_; }

 private:
  std::int64_t size() const { return typed_.buffer.size(); }
  std::int64_t below(std::int64_t limit) {
    return std::uniform_int_distribution<std::int64_t>(0, limit - 1)(random_);
  }

  void moveCaret() {
    const std::int64_t kind = below(16);
    if (kind == 0) caret_ = below(size() + 1);
    if (kind == 1) caret_ = below(2) == 0 ? kFar - 2 + below(4) : size() - kFar - 2 + below(4);
    if (kind > 10) caret_ += below(61) - 30;
    caret_ = std::clamp<std::int64_t>(caret_, 0, size());
  }

  Bytes someBytes() {
    Bytes bytes(static_cast<std::size_t>(below(8) == 0 ? below(40000) : below(4)));
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(below(256));
    return bytes;
  }

  void replace(std::int64_t removed, std::span<const std::uint8_t> inserted, const Bytes& same) {
    typed_.buffer.replace(caret_, removed, inserted);
    auto& model = typed_.model;
    const auto at = model.erase(model.begin() + caret_, model.begin() + caret_ + removed);
    model.insert(at, same.begin(), same.end());
    caret_ += std::ssize(same);
  }

  void edit() {
    const std::int64_t wanted = below(10) == 0 ? below(30000) : below(4);
    const std::int64_t removed = std::min(wanted, size() - caret_);
    if (below(8) == 0) {
      const std::int64_t from = std::max<std::int64_t>(caret_ - 50, 0);
      const std::int64_t length = std::min<std::int64_t>(below(100), size() - from);
      const Bytes same(typed_.model.begin() + from, typed_.model.begin() + from + length);
      replace(removed, typed_.buffer.span(from, length), same);
    } else {
      const Bytes inserted = someBytes();
      replace(removed, inserted, inserted);
    }
    if (!typed_.buffer.isContiguous()) ++editsWithGap_;
  }

  void read() {
    const std::int64_t from = std::clamp<std::int64_t>(caret_ - below(100), 0, size());
    const std::int64_t length = std::min(below(200), size() - from);
    const Bytes expected(typed_.model.begin() + from, typed_.model.begin() + from + length);
    switch (below(40)) {
      case 0:
        return void(snapshots_.emplace_back(typed_.buffer, typed_.model));
      case 1:
        return snapshots_.clear();
      case 2:
        ASSERT_TRUE(std::ranges::equal(typed_.buffer.span(), typed_.model));
        return;
      case 3:
        ASSERT_TRUE(std::ranges::equal(typed_.buffer.span(from, length), expected));
        return;
      case 4:
        ASSERT_EQ(typed_.buffer, ByteBuffer(typed_.model));
        return;
      default:
        break;
    }
    const bool wasContiguous = typed_.buffer.isContiguous();
    ASSERT_TRUE(typed_.buffer.hasAt(from, expected));
    ASSERT_EQ(typed_.buffer.slice(from, length), ByteBuffer(expected));
    for (std::int64_t i = 0; i < length; ++i) {
      ASSERT_EQ(typed_.buffer[from + i], expected[static_cast<std::size_t>(i)]);
    }
    ASSERT_EQ(typed_.buffer.isContiguous(), wasContiguous);
    if (length > 0) {
      typed_.buffer.set(from, 7);
      typed_.model[static_cast<std::size_t>(from)] = 7;
    }
  }

  std::mt19937 random_;
  Typed typed_;
  std::int64_t caret_;
  std::vector<std::pair<ByteBuffer, Bytes>> snapshots_;
  int editsWithGap_ = 0;
};

TEST(ByteBufferGapModel, typedBuffersFollowThePlainVector) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    TypedBuffer typed(seed, 4 * kFar + 12345);
    for (int step = 0; step < 400; ++step) {
      typed.act();
      if (testing::Test::HasFatalFailure()) return;
      if (step % 40 == 0) typed.check();
    }
    typed.check();
    EXPECT_GT(typed.editsWithGap(), 100);
  }
}

TEST(ByteBufferGapModel, buffersWhosePagesMoveFollowThePlainVector) {
  for (unsigned seed = 1; seed <= 2; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    TypedBuffer typed(seed, 3 * kPageMoveThreshold + 12345);
    for (int step = 0; step < 80; ++step) {
      typed.act();
      if (testing::Test::HasFatalFailure()) return;
    }
    typed.check();
    EXPECT_GT(typed.editsWithGap(), 20);
  }
}

}  // namespace
}  // namespace quillmor
