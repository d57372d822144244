#pragma once

#include <functional>

#include "base/ByteBuffer.h"
#include "document/DocumentController.h"
#include "document/DocumentSaver.h"
#include "document/SafetyCopy.h"
#include "platform/PlatformServices.h"
#include "recovery/RecordStore.h"

namespace quillmor {

/// How far the replacement of a window's document may go on after the question about unsaved
/// changes.
enum class DocumentReplacementPreparation { proceed, cancelled, failed };

/// How opening a file into an existing window ended.
enum class OpenCurrentResult { opened, broughtToFront, cancelled, failed };

/// What the work in a window leaves behind for later: history, records of unsaved changes, the last
/// offset.
enum class Traces { kept, none };

/// The services that all editor windows share; they outlive the windows.
struct EditorEnvironment {
  PlatformServices platform;
  DocumentController& documents;
  DocumentSaver& saver;
  /// Where unsaved changes are kept and open files locked; null for neither.
  const RecordStore* records = nullptr;
  /// With `none` no window keeps any, whatever is chosen in it.
  Traces traces = Traces::kept;
  /// Shows bytes that are in no file as a document with unsaved changes in a new window.
  std::function<void(ByteBuffer bytes, EditorPlaces places)> openUntitled = {};
};

}  // namespace quillmor
