#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "base/ByteUnits.h"
#include "editor/EditSession.h"

/// What the benchmarks of typing share. `QUILLMOR_BENCH_MIB` sets the size of the document (default
/// 1024).
namespace quillmor::bench {

class NoExecutor : public BackgroundExecutor {
 public:
  void runDetached(std::function<void()> /*work*/) override {}
  void postToMain(std::function<void()> /*function*/) override {}
  void postToMainAfter(std::chrono::milliseconds /*delay*/,
                       std::function<void()> /*function*/) override {}
};

class SilentBeeper : public Beeper {
 public:
  void beep() override {}
};

class NoObserver : public EditSessionObserver {
 public:
  void updateStatus() override {}
  void sessionDidEdit(bool /*canBeUndone*/) override {}
  void didRefuse(const std::string& /*reason*/) override { std::abort(); }
};

/// A large document in an edit session with undo, in insert mode.
class TypedDocument {
 public:
  TypedDocument() {
    const char* const text = std::getenv("QUILLMOR_BENCH_MIB");
    const std::int64_t mib = text == nullptr ? 1024 : std::atoll(text);
    ByteBuffer bytes = ByteBuffer::uninitialized(std::max<std::int64_t>(mib, 16) * kMiB);
    const auto all = bytes.mutableSpan();
    std::memset(all.data(), 0x5A, all.size());
    document_->readData(std::move(bytes));
    begin();
  }
  explicit TypedDocument(const FileLocation& file) {
    document_->read(file);
    begin();
  }

  EditSession& session() { return session_; }
  HexEditorState& editor() { return session_.editor(); }
  ByteBuffer& bytes() { return document_->storage()->bytes; }
  void placeAt(std::int64_t percent) { editor().setCaretOffset(bytes().size() / 100 * percent); }

 private:
  void begin() {
    session_.takeStorage(document_->storage(), /*preservingEditorState=*/false);
    editor().setInsertMode(true);
    // The document may be as large as documents get.
    editor().setMaximumByteCount(2 * bytes().size());
  }

  NoExecutor executor_;
  SilentBeeper beeper_;
  NoObserver observer_;
  std::shared_ptr<HexDocument> document_ = std::make_shared<HexDocument>(executor_);
  EditSession session_{document_, beeper_, observer_};
};

inline double secondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The value that `part` (0...1) of the others do not exceed.
inline double quantile(std::vector<double> values, double part) {
  std::ranges::sort(values);
  return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

}  // namespace quillmor::bench
