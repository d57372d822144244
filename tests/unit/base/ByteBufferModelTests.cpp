// Random edits of buffers that share memory, against plain vectors: every snapshot stays what it
// was when it was taken, whatever happens to the others.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/ByteBlock.h"
#include "base/ByteBuffer.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

class EditedBuffer {
 public:
  EditedBuffer(unsigned seed, std::int64_t size, std::int64_t maxEdit)
      : random_(seed), maxEdit_(maxEdit), model_(randomBytes(size)), buffer_(model_) {}

  void act() {
    switch (below(8)) {
      case 0:
        snapshots_.emplace_back(buffer_, model_);
        break;
      case 1:
        dropASnapshot();
        break;
      case 2:
        overwriteAByte();
        break;
      case 3:
        insertAPartOfItself();
        break;
      case 4:
        cutAnEnd();
        break;
      default:
        replaceARange();
        break;
    }
  }

  void check() const {
    ASSERT_TRUE(equal(buffer_, model_));
    for (const auto& [buffer, model] : snapshots_) ASSERT_TRUE(equal(buffer, model));
  }

 private:
  std::int64_t below(std::int64_t limit) {
    return std::uniform_int_distribution<std::int64_t>(0, limit - 1)(random_);
  }

  Bytes randomBytes(std::int64_t size) {
    Bytes bytes(static_cast<std::size_t>(size));
    // A short random pattern, repeated by copying: large arrays are needed faster than random ones.
    const std::size_t pattern = std::min<std::size_t>(bytes.size(), 251);
    for (std::size_t i = 0; i < pattern; ++i) bytes[i] = static_cast<std::uint8_t>(below(256));
    for (std::size_t done = pattern; done < bytes.size(); done *= 2) {
      std::memcpy(&bytes[done], bytes.data(), std::min(done, bytes.size() - done));
    }
    return bytes;
  }

  static bool equal(const ByteBuffer& buffer, const Bytes& model) {
    return buffer.size() == static_cast<std::int64_t>(model.size()) &&
           (model.empty() || std::memcmp(buffer.data(), model.data(), model.size()) == 0);
  }

  /// Often an end, because both ends have rules of their own.
  std::int64_t somewhere() {
    switch (below(4)) {
      case 0:
        return 0;
      case 1:
        return buffer_.size();
      default:
        return below(buffer_.size() + 1);
    }
  }

  void replaceInModel(std::int64_t offset, std::int64_t removed, const Bytes& inserted) {
    const auto at = model_.erase(model_.begin() + offset, model_.begin() + offset + removed);
    model_.insert(at, inserted.begin(), inserted.end());
  }

  void replaceARange() {
    const std::int64_t offset = somewhere();
    const std::int64_t removed = below(std::min(buffer_.size() - offset, maxEdit_) + 1);
    const Bytes inserted = randomBytes(below(maxEdit_ + 1));
    buffer_.replace(offset, removed, inserted);
    replaceInModel(offset, removed, inserted);
  }

  void insertAPartOfItself() {
    const std::int64_t from = somewhere();
    const std::int64_t length = below(std::min(buffer_.size() - from, maxEdit_) + 1);
    const std::int64_t offset = somewhere();
    const Bytes part(model_.begin() + from, model_.begin() + from + length);
    buffer_.insert(offset, buffer_.span(from, length));
    replaceInModel(offset, 0, part);
  }

  void cutAnEnd() {
    const std::int64_t removed = below(std::min(buffer_.size(), 2 * maxEdit_) + 1);
    if (below(2) == 0) {
      buffer_.truncate(buffer_.size() - removed);
      replaceInModel(buffer_.size(), removed, {});
    } else {
      buffer_.erase(0, removed);
      replaceInModel(0, removed, {});
    }
  }

  void overwriteAByte() {
    if (buffer_.empty()) return;
    const std::int64_t offset = below(buffer_.size());
    const auto value = static_cast<std::uint8_t>(below(256));
    buffer_.set(offset, value);
    model_[static_cast<std::size_t>(offset)] = value;
  }

  void dropASnapshot() {
    if (snapshots_.empty()) return;
    snapshots_.erase(snapshots_.begin() + below(static_cast<std::int64_t>(snapshots_.size())));
  }

  std::mt19937 random_;
  std::int64_t maxEdit_;
  Bytes model_;
  ByteBuffer buffer_;
  std::vector<std::pair<ByteBuffer, Bytes>> snapshots_;
};

TEST(ByteBufferModel, smallBuffersFollowThePlainVector) {
  for (unsigned seed = 1; seed <= 1000; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    EditedBuffer edited(seed, seed % 50, 40);
    for (int step = 0; step < 60; ++step) {
      edited.act();
      edited.check();
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(ByteBufferModel, buffersAroundTheMappingThresholdFollowThePlainVector) {
  for (unsigned seed = 1; seed <= 8; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    EditedBuffer edited(seed, ByteBlock::kMappedThreshold, 60000);
    for (int step = 0; step < 60; ++step) edited.act();
    edited.check();
  }
}

TEST(ByteBufferModel, largeBuffersThatGiveMemoryBackFollowThePlainVector) {
  for (unsigned seed = 1; seed <= 3; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    EditedBuffer edited(seed, 24 * 1024 * 1024, 5 * 1024 * 1024);
    for (int step = 0; step < 40; ++step) edited.act();
    edited.check();
  }
}

TEST(ByteBufferThreads, snapshotsStayWhatTheyWereWhileTheOwnerEdits) {
  constexpr std::int64_t kSize = ByteBlock::kMappedThreshold;
  ByteBuffer buffer = ByteBuffer::filled(kSize, 0);
  std::atomic<int> wrong = 0;
  for (int round = 1; round <= 50; ++round) {
    const auto value = static_cast<std::uint8_t>(round);
    const auto watch = [&wrong, snapshot = buffer, old = buffer[0]] {
      const ByteBuffer copy = snapshot;
      if (copy != ByteBuffer::filled(kSize, old)) ++wrong;
    };
    std::thread first(watch);
    std::thread second(watch);
    // Sometimes still shared, sometimes the sole owner again: both must leave the watchers alone.
    std::ranges::fill(buffer.mutableSpan(), value);
    first.join();
    second.join();
  }
  EXPECT_EQ(wrong, 0);
}

TEST(ByteBufferThreads, theLastOwnerMayWriteInPlaceOnceTheOthersAreGone) {
  for (int round = 0; round < 200; ++round) {
    ByteBuffer buffer = ByteBuffer::filled(1000, 1);
    std::atomic<int> sum = 0;
    std::thread reader([snapshot = buffer, &sum]() mutable {
      for (const std::uint8_t byte : snapshot.span()) sum += byte;
      snapshot = ByteBuffer();
    });
    for (std::int64_t i = 0; i < buffer.size(); ++i) buffer.set(i, 2);
    reader.join();
    ASSERT_EQ(sum, 1000);
    ASSERT_EQ(buffer, ByteBuffer::filled(1000, 2));
  }
}

}  // namespace
}  // namespace quillmor
