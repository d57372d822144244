#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "support/AtomicTextFileWriterFixture.h"
#include "tools/export/TextExport.h"

namespace quillmor::test {

/// `text` is collected from the pieces handed to the sink.
inline std::string collected(const std::function<void(const TextSink&)>& produce) {
  std::string text;
  produce([&text](std::string_view piece) { text += piece; });
  return text;
}

/// By how many bytes the memory of this process grew at most while `work` ran.
std::int64_t peakMemoryGrowth(const std::function<void()>& work);

/// What every exporter promises of its destination.
class ExporterTest : public AtomicTextFileWriterTest {
 protected:
  using Export = std::function<void(const ExportTarget&, TaskProgress&)>;

  /// Writes `expected` to new and existing files, and says so in the progress.
  void expectWrites(const Export& run, const std::string& expected);

  /// A stop requested before or during any system call up to the closing of the complete file
  /// leaves everything as it was; one that comes later has no effect.
  void expectStopsAtEveryStage(const Export& run, const std::string& expected);

  /// Failed writes are reported, and protected files refused; the destination stays as it was.
  void expectLeavesTheDestinationWhenItFails(const Export& run);

 private:
  void stopBefore(SystemCall kind, int nth, bool comesTooLate, const Export& run,
                  const std::string& expected);
  void resetFolder() const;
};

}  // namespace quillmor::test
