#include "recovery/JournalWriter.h"

#include <array>
#include <utility>

#include "fileaccess/FileWriting.h"
#include "fileaccess/SystemCalls.h"
#include "platform/RunInBackground.h"

namespace quillmor {

namespace {

constexpr SecureFileAccess::WriteMessages kWriteMessages = {
    .couldNotWrite = "Could not write the journal of unsaved changes.",
    .stopped = "The write of the journal of unsaved changes stopped before all data was saved."};

std::uint32_t headerCheckOf(const HeldRecord& journal) {
  std::array<std::uint8_t, RecordHeader::kByteCount> header{};
  std::size_t count = 0;
  while (count < header.size()) {
    const ssize_t got = retryingInterrupted([&] {
      return SystemCalls::current().pread(journal.handle().get(), header.data() + count,
                                          header.size() - count, static_cast<off_t>(count));
    });
    if (got < 0) throw lastSystemError(kWriteMessages.couldNotWrite);
    if (got == 0) throw Error::posix(0, std::string(kWriteMessages.couldNotWrite));
    count += static_cast<std::size_t>(got);
  }
  return journalHeaderCheck(header);
}

}  // namespace

std::unique_ptr<JournalWriter> JournalWriter::create(const RecordStore& store,
                                                     RecordContent content) {
  auto journal = store.createJournal(std::move(content));
  auto writer = resultOf([&] {
    const std::uint32_t check = headerCheckOf(*journal);
    return std::make_unique<JournalWriter>(std::move(journal), check);
  });
  if (writer.isOk()) return std::move(writer.value());
  resultOf([&] { return journal->remove(), Done(); });
  throw writer.error();
}

void JournalWriter::append(std::span<std::uint8_t> entries) {
  if (failure_) throw *failure_;
  if (entries.empty()) return;
  try {
    chain_.seal(entries);
    SecureFileAccess::writeAll(entries, journal_->handle(), kWriteMessages);
    journal_->handle().synchronize();
  } catch (const Error& error) {
    failure_ = error;
    throw;
  }
  journal_->setByteCount(journal_->byteCount() + std::ssize(entries));
}

}  // namespace quillmor
