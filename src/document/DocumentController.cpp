#include "document/DocumentController.h"

#include <algorithm>

#include "fileaccess/URLReservations.h"

namespace quillmor {

std::shared_ptr<HexDocument> DocumentController::makeUntitledDocument(
    BackgroundExecutor& executor) {
  auto document = std::make_shared<HexDocument>(executor);
  document->setUntitledNumber(freeUntitledNumber());
  documents_.push_back(document);
  return document;
}

void DocumentController::close(const HexDocument* document) {
  std::erase_if(documents_, [document](const auto& held) { return held.get() == document; });
}

std::vector<FileLocation> DocumentController::openDocumentURLs(const HexDocument* excluded) const {
  std::vector<FileLocation> locations;
  for (const auto& document : documents_) {
    if (document.get() != excluded && document->location())
      locations.push_back(*document->location());
  }
  return locations;
}

std::shared_ptr<HexDocument> DocumentController::documentShowing(
    const FileLocation& location, const HexDocument* excluded) const {
  const auto shows = [&](const std::shared_ptr<HexDocument>& document) {
    return document.get() != excluded && !document->isPendingInitialLoad && document->location() &&
           SecureFileAccess::urlsReferToSameFile(*document->location(), location);
  };
  const auto found = std::find_if(documents_.begin(), documents_.end(), shows);
  return found == documents_.end() ? nullptr : *found;
}

int DocumentController::freeUntitledNumber() const {
  const auto taken = [this](int number) {
    return std::any_of(documents_.begin(), documents_.end(), [number](const auto& document) {
      return !document->location() && document->untitledNumber() == number;
    });
  };
  int number = 1;
  while (taken(number)) ++number;
  return number;
}

}  // namespace quillmor
