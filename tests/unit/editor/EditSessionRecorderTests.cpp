// What a session tells its recorders: the bytes that are about to go, and how the edit ended.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "editor/EditSession.h"
#include "support/FailingAllocation.h"
#include "support/TestPlatform.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::ElementsAre;
using testing::IsEmpty;

std::string textOf(std::int64_t offset, std::int64_t count) {
  return std::to_string(offset) + "+" + std::to_string(count);
}

/// Writes down what it is told, with its own name before it.
class Listener : public EditRecorder {
 public:
  Listener(std::string name, std::vector<std::string>& heard)
      : name_(std::move(name)), heard_(heard) {}

  void willEdit(HexSelection range, const ByteBuffer* removed) noexcept override {
    say([&] {
      return "will " + textOf(range.start, range.length) + (removed != nullptr ? " with them" : "");
    });
  }
  void editDidNotHappen() noexcept override {
    say([] { return std::string("not"); });
  }
  void didEdit(const RecordedEdit& edit) noexcept override {
    say([&] {
      return std::string(edit.actionName) + " " + textOf(edit.offset, edit.removedCount) + ">" +
             std::to_string(edit.insertedCount) + (edit.completesStep ? " too" : "");
    });
  }

 private:
  template <class Text>
  void say(const Text& text) noexcept {
#if QUILLMOR_NEW_CAN_FAIL
    const UncountedAllocations uncounted;
#endif
    heard_.push_back(name_ + text());
  }

  const std::string name_;
  std::vector<std::string>& heard_;
};

class EditSessionRecorders : public testing::Test, private EditSessionObserver {
 protected:
  EditSessionRecorders() { session.addEditRecorder(listener); }
  ~EditSessionRecorders() override { session.close(); }

  void fill(const Bytes& bytes) {
    document->readData(ByteBuffer(bytes));
    session.takeStorage(document->storage(), /*preservingEditorState=*/false);
    session.editor().setEditingArea(EditingArea::hex);
    session.editor().setInsertMode(false);
    heard.clear();
  }

  TestPlatform platform;
  std::shared_ptr<HexDocument> document = std::make_shared<HexDocument>(platform.executor);
  std::vector<std::string> heard;
  Listener listener{"", heard};
  EditSession session{document, platform.beeper, *this};

 private:
  void updateStatus() override {}
  void sessionDidEdit(bool) override {}
  void didRefuse(const std::string&) override {}
};

TEST_F(EditSessionRecorders, areToldInTheOrderOfAdding) {
  fill({1, 2, 3});
  Listener second("second ", heard);
  session.addEditRecorder(second);
  session.replaceRange({.range = {1, 2}, .actionName = "Fill", .after = {}}, Bytes{7});
  EXPECT_THAT(heard, ElementsAre("will 1+2", "second will 1+2", "Fill 1+2>1", "second Fill 1+2>1"));
  heard.clear();
  session.removeEditRecorder(second);
  session.undo();
  EXPECT_THAT(heard, ElementsAre("will 1+1 with them", "Undo Fill 1+1>2"));
}

TEST_F(EditSessionRecorders, hearWhatAWholeDocumentReplaces) {
  fill({1, 2, 3, 4});
  session.installDocument(ByteBuffer{1, 9, 9, 9, 4}, {}, "Replace All", {});
  session.undo();
  session.redo();
  EXPECT_THAT(heard, ElementsAre("will 1+2", "Replace All 1+2>3", "will 1+3",
                                 "Undo Replace All 1+3>2", "will 1+2", "Redo Replace All 1+2>3"));
  heard.clear();
  session.installPrepared({.range = {0, 5}, .actionName = "Invert", .after = {}},
                          ByteBuffer{5, 5, 5, 5, 5});
  EXPECT_THAT(heard, ElementsAre("will 0+5", "Invert 0+5>5"));
}

TEST_F(EditSessionRecorders, getTheCopyThatUndoHas) {
  fill(Bytes(100, 1));
  const Bytes inserted{7};
  session.replaceRange({.range = {0, 16}, .actionName = "Few", .after = {}}, inserted);
  session.replaceRange({.range = {1, 17}, .actionName = "Many", .after = {}}, inserted);
  session.undo();
  EXPECT_THAT(heard, ElementsAre("will 0+16", "Few 0+16>1", "will 1+17 with them", "Many 1+17>1",
                                 "will 1+1 with them", "Undo Many 1+1>17"));
}

TEST_F(EditSessionRecorders, hearOfEveryKey) {
  fill({0x11, 2, 3});
  session.editor().handleTextInput("A");
  session.editor().handleTextInput("B");
  session.editor().setInsertMode(true);
  session.editor().handleTextInput("C");
  session.editor().setSelection({0, 2});
  session.editor().deleteSelectionOrByte(/*backward=*/true);
  EXPECT_THAT(heard, ElementsAre("will 0+1", "Edit 0+1>1", "will 0+1", "Edit 0+1>1 too", "will 1+0",
                                 "Edit 1+0>1", "will 0+2", "Edit 0+2>0"));
}

TEST_F(EditSessionRecorders, hearNothingOfWhatIsNoEdit) {
  fill({0x11});
  session.editor().handleTextInput("1");
  session.editor().handleTextInput("1");
  session.editor().paste(Bytes{});
  EXPECT_FALSE(session.undo());
  EXPECT_THAT(heard, IsEmpty());
}

#if QUILLMOR_NEW_CAN_FAIL

TEST_F(EditSessionRecorders, hearOfEveryEditThatFails) {
  const ByteBuffer edited{1, 9, 9, 4};
  const Bytes nines{9, 9};
  const std::vector<std::function<void()>> edits = {
      [&] {
        session.replaceRange({{1, 2}, "Edit", {}}, nines);
      },
      [&] {
        session.replaceRange({{0, 4}, "Edit", {}}, edited.span());
      },
      [&] {
        session.installPrepared({{1, 2}, "Edit", {}}, edited);
      },
      [&] { session.installDocument(edited, {}, "Edit", {}); },
      [&] { session.editor().editByte(9); },
      [&] { session.editor().editHexNibble(9); },
      [&] { session.undo(); },
      [&] { session.redo(); },
  };
  for (const auto& edit : edits) {
    int failedEdits = 0;
    bool hasFailed = true;
    for (int number = 1; hasFailed; ++number) {
      SCOPED_TRACE("allocation " + std::to_string(number));
      fill({1, 2, 3, 4});
      // A first digit without its second; two steps to undo, one of them undone.
      for (int step = 0; step < 2; ++step)
        session.replaceRange({{0, 1}, "Fill", {}}, Bytes{static_cast<std::uint8_t>(step + 7)});
      session.undo();
      session.editor().setCaretOffset(1);
      const ByteBuffer shared = session.bytes();
      const Bytes before(shared.span().begin(), shared.span().end());
      heard.clear();
      bool hasThrown = false;
      {
        const FailingAllocation failing(number);
        try {
          edit();
        } catch (const std::bad_alloc&) {
          hasThrown = true;
        }
        hasFailed = failing.hasFailed();
      }
      const bool hasHappened =
          !std::ranges::equal(session.bytes().span(), std::span<const std::uint8_t>(before));
      EXPECT_NE(hasHappened, hasThrown);
      ASSERT_FALSE(heard.empty());
      EXPECT_EQ(heard.back() == "not", hasThrown);
      EXPECT_LE(heard.size(), 3U);
      failedEdits += hasThrown ? 1 : 0;
    }
    EXPECT_GT(failedEdits, 0);
  }
}

TEST_F(EditSessionRecorders, hearOfASecondDigitThatFails) {
  fill({0x11});
  session.editor().handleTextInput("A");
  const ByteBuffer shared = session.bytes();
  heard.clear();
  {
    const FailingAllocation failing;
    EXPECT_THROW(session.editor().handleTextInput("B"), std::bad_alloc);
  }
  EXPECT_THAT(heard, ElementsAre("will 0+1", "not"));
  session.editor().handleTextInput("B");
  EXPECT_EQ(session.bytes()[0], 0xAB);
  EXPECT_THAT(heard, ElementsAre("will 0+1", "not", "will 0+1", "Edit 0+1>1 too"));
}

#endif

}  // namespace
}  // namespace quillmor::test
