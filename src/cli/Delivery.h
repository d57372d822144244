#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cli/Arguments.h"
#include "cli/Session.h"
#include "tools/export/TextExport.h"

namespace quillmor::cli {

/// A document, and where it was read from.
struct OpenDocument {
  FileLocation location;
  ReadSnapshot snapshot;

  const ByteBuffer& bytes() const { return snapshot.bytes; }
};

/// Reads the document that the argument "FILE" names. First checks the output "-o", if given, and
/// fails as preparing it would. `otherInputs` are files that such an output must not overwrite
/// either.
OpenDocument openDocument(const Arguments& arguments, Session& session,
                          std::vector<FileLocation> otherInputs = {});

/// Writes the text that `produce` makes to "-o", or to standard output with a line feed at its end.
/// `inputs` are the files it is made from, which the output must not overwrite.
void deliverText(const Arguments& arguments, Session& session, std::vector<FileLocation> inputs,
                 TaskProgress& progress, const std::function<void(const TextSink&)>& produce);

/// The same for a text that may fail half way: nothing is printed then.
void deliverUncertainText(const Arguments& arguments, Session& session,
                          std::vector<FileLocation> inputs, TaskProgress& progress,
                          const std::function<void(const TextSink&)>& produce);

/// Prints `text` and writes `changed`, the new bytes of `document`, to "-o" or "--in-place". If
/// printing fails, nothing is changed. `otherInputs` must not be overwritten either. With
/// "--in-place", a file whose bytes stay the same is not touched.
void deliverBytes(const Arguments& arguments, Session& session, const OpenDocument& document,
                  ByteBuffer changed, const std::string& text,
                  std::vector<FileLocation> otherInputs = {});

}  // namespace quillmor::cli
