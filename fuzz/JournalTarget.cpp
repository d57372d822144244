// Tries replayJournal on a journal of any bytes after its header, and on one of entries that are
// made from them and chained as they must be. Invariants:
//  - nothing fails: what cannot be believed ends the replay;
//  - the entries replayed leave what a plain loop over the same entries leaves;
//  - caret and selection lie within the document, and bookmarks too, strictly increasing;
//  - the replay says that it was cut off exactly when something is left.

#include <algorithm>
#include <vector>

#include "base/Check.h"
#include "fuzz/FuzzTargets.h"
#include "recovery/JournalEntry.h"
#include "recovery/JournalReader.h"

namespace quillmor::fuzz {

namespace {

using Bytes = std::vector<std::uint8_t>;

const Bytes kBase{'Q', 'u', 'i', 'l', 'l', 0, 1, 2, 255};

Bytes journalHeader() {
  RecordHeader header;
  header.kind = RecordKind::journal;
  const auto encoded = header.encoded();
  return {encoded.begin(), encoded.end()};
}

bool isRange(std::int64_t start, std::int64_t length, std::size_t count) {
  const auto end = static_cast<std::int64_t>(count);
  return start >= 0 && length >= 0 && start <= end && length <= end - start;
}

void checkReplay(const Bytes& file) {
  Bytes document = kBase;
  JournalChain chain(journalHeaderCheck(file));
  auto rest = std::span(file).subspan(RecordHeader::kByteCount);
  std::int64_t count = 0;
  JournalEntry entry;
  while (chain.read(rest, entry) && isRange(entry.offset, entry.removedCount, document.size())) {
    Bytes next = document;
    const auto at =
        next.erase(next.begin() + entry.offset, next.begin() + entry.offset + entry.removedCount);
    next.insert(at, entry.inserted.begin(), entry.inserted.end());
    if (!isRange(entry.caretOffset, 0, next.size()) ||
        !isRange(entry.selection.start, entry.selection.length, next.size())) {
      break;
    }
    document = std::move(next);
    ++count;
    rest = rest.subspan(entry.byteCount());
  }
  const auto replayed = replayJournal(file, ByteBuffer(kBase), {0, 3, std::ssize(kBase)});
  checkPrecondition(replayed.entryCount == count, "Every entry that fits is replayed");
  checkPrecondition(std::ranges::equal(replayed.bytes.span(), document), "The edits are the same");
  checkPrecondition(replayed.wasCutOff == !rest.empty(), "A replay that was cut off says so");
  const EditorPlaces& places = replayed.places;
  checkPrecondition(isRange(places.caretOffset, 0, document.size()) &&
                        isRange(places.selection.start, places.selection.length, document.size()),
                    "Caret and selection lie within the document");
  checkPrecondition(
      std::ranges::adjacent_find(places.bookmarks, std::ranges::greater_equal{}) ==
              places.bookmarks.end() &&
          (places.bookmarks.empty() || isRange(places.bookmarks.back(), 0, document.size())),
      "Bookmarks are in order and within the document");
}

/// A small number, or one that is beyond everything.
std::int64_t numberOf(std::uint8_t byte, bool isHuge) {
  const std::int64_t number = static_cast<std::int8_t>(byte);
  return isHuge ? number * (std::int64_t{1} << 56) : number;
}

/// Eight bytes for each entry.
Bytes chainedEntries(std::span<const std::uint8_t> input, std::uint32_t headerCheck) {
  constexpr std::size_t kFields = 8;
  Bytes entries;
  for (; input.size() >= kFields; input = input.subspan(kFields)) {
    const auto number = [&](std::size_t field) {
      return numberOf(input[field], (input[7] >> field & 1) != 0);
    };
    JournalEntry{.actionName = "Edit",
                 .offset = number(0),
                 .removedCount = number(1),
                 .inserted = input.first(input[2] % (kFields + 1)),
                 .caretOffset = number(3),
                 .selection = {.start = number(4), .length = number(5)}}
        .appendTo(entries);
  }
  JournalChain(headerCheck).seal(entries);
  return entries;
}

}  // namespace

void fuzzJournal(std::span<const std::uint8_t> input) {
  static const Bytes kHeader = journalHeader();
  Bytes file = kHeader;
  file.insert(file.end(), input.begin(), input.end());
  checkReplay(file);
  const Bytes entries = chainedEntries(input, journalHeaderCheck(kHeader));
  file = kHeader;
  file.insert(file.end(), entries.begin(), entries.end());
  checkReplay(file);
  // The tail of a crash.
  file.insert(file.end(), input.begin(), input.end());
  checkReplay(file);
}

}  // namespace quillmor::fuzz
