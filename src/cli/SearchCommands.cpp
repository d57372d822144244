// Searching a file.

#include <charconv>

#include "cli/Commands.h"
#include "cli/Delivery.h"
#include "cli/TypedSearch.h"
#include "document/QuillmorResourceLimits.h"
#include "search/FileSearch.h"
#include "search/SearchAnswers.h"
#include "search/Searching.h"
#include "tools/export/TextExport.h"
#include "tools/text/OffsetText.h"

namespace quillmor::cli {

namespace {

constexpr const char* kSearching = "Searching";

/// "0xOFFSET  LENGTH" and a line feed.
void appendMatchLine(BufferedText& text, std::int64_t offset, std::int64_t length) {
  constexpr std::size_t kMaxLineLength = 2 + kMaxOffsetLength + 2 + 20 + 1;
  char* end = writeText(text.room(kMaxLineLength), "0x");
  end = writeOffset(end, offset);
  end = writeText(end, "  ");
  end = std::to_chars(end, end + 20, length).ptr;
  *end++ = '\n';
  text.advance(end);
}

Outcome printMatch(Session& session, std::optional<HexSelection> match, std::string_view none) {
  if (!match) {
    session.print(none);
    return Outcome::no;
  }
  const TextSink sink = [&session](std::string_view piece) { session.output().write(piece); };
  BufferedText text(sink);
  appendMatchLine(text, match->start, match->length);
  text.flush();
  return Outcome::done;
}

}  // namespace

Outcome find(const Arguments& arguments, Session& session) {
  const TypedSearch search = typedSearch(arguments);
  const FileSearchStart start{.offset = arguments.findOffset("--from"),
                              .forward = !arguments.has("--backward")};
  const auto found = nextMatchInFile(
      arguments.documentFile("FILE"), QuillmorResourceLimits::maximumDocumentByteCount(),
      search.request, search.candidateList, start, session.beginPart(kSearching));
  return printMatch(session, found, foundText(0));
}

Outcome findAll(const Arguments& arguments, Session& session) {
  const TypedSearch search = typedSearch(arguments);
  const OpenDocument document = openDocument(arguments, session);
  const TextSink sink = [&session](std::string_view piece) { session.output().write(piece); };
  BufferedText text(sink);
  std::int64_t count = 0;
  forEachOccurrence(document.bytes().span(), search.request, search.candidateList,
                    session.beginPart(kSearching), [&](const OccurrenceWalk::Hit& hit) {
                      appendMatchLine(text, hit.offset, hit.length);
                      ++count;
                    });
  text.append(foundText(count) + "\n");
  text.flush();
  return count > 0 ? Outcome::done : Outcome::no;
}

Outcome findWildcard(const Arguments& arguments, Session& session) {
  const auto pattern = typedWildcardPattern(arguments.text("PATTERN"));
  if (!pattern.isOk()) throw pattern.error();
  const std::int64_t from = arguments.findOffset("--from").value_or(0);
  const OpenDocument document = openDocument(arguments, session);
  const auto offset = pattern.value().firstMatchWrapped(document.bytes().span(), from,
                                                        session.beginPart(kSearching));
  std::optional<HexSelection> found;
  if (offset) found = {*offset, pattern.value().length()};
  return printMatch(session, found, kNoMatch);
}

}  // namespace quillmor::cli
