#include "platform_qt/QtPasteboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <algorithm>
#include <initializer_list>
#include <memory>

namespace quillmor {

namespace {

constexpr const char* kBinaryData = "com.tenvale.Quillmor.binary-data";
constexpr const char* kGenericBinaryData = "com.tenvale.binary-data";
constexpr const char* kOctetStream = "application/octet-stream";
constexpr const char* kPlainText = "text/plain";
constexpr const char* kUtf8Text = "text/plain;charset=utf-8";

using Types = std::initializer_list<const char*>;

/// In the order in which they are looked for.
constexpr Types kBinaryTypes = {kBinaryData, kGenericBinaryData};
constexpr Types kTextTypes = {kUtf8Text, kPlainText};

/// Content that is copied for the toolkit when it is asked for first, and then kept instead of the
/// original: tens of MiB that would hold up the window when they are put on the clipboard, and
/// again at every request.
template <typename Original>
class LazyContent {
 public:
  explicit LazyContent(Original original) : original_(std::move(original)) {}

  QByteArray bytes() const {
    if (original_) {
      bytes_ = QByteArray(reinterpret_cast<const char*>(original_->data()),
                          static_cast<qsizetype>(original_->size()));
      original_.reset();
    }
    return bytes_;
  }

 private:
  mutable std::optional<Original> original_;
  mutable QByteArray bytes_;
};

class ClipboardContent : public QMimeData {
 public:
  explicit ClipboardContent(std::string text) : text_(std::move(text)) {}
  ClipboardContent(ByteBuffer bytes, std::string text)
      : bytes_(std::move(bytes)), text_(std::move(text)) {}

  QStringList formats() const override {
    return bytes_ ? QStringList{kBinaryData, kOctetStream, kPlainText} : QStringList{kPlainText};
  }

 protected:
  QVariant retrieveData(const QString& mimeType, QMetaType) const override {
    if (!formats().contains(mimeType)) return {};
    return mimeType == kPlainText ? text_.bytes() : bytes_->bytes();
  }

 private:
  const std::optional<LazyContent<ByteBuffer>> bytes_;
  const LazyContent<std::string> text_;
};

/// Hands `data` to the desktop. After a refusal the clipboard holds something else; the toolkit
/// gives no other sign.
bool publish(std::unique_ptr<QMimeData> data) {
  QClipboard& clipboard = *QGuiApplication::clipboard();
  const QStringList published = data->formats();
  clipboard.clear();
  clipboard.setMimeData(data.release());
  const QMimeData* held = clipboard.mimeData();
  return held != nullptr &&
         std::ranges::all_of(published, [&](const QString& type) { return held->hasFormat(type); });
}

/// The first of `types` that is among `formats`; null when none is.
const char* firstHeld(Types types, const QStringList& formats) {
  const auto* found = std::ranges::find_if(
      types, [&](const char* type) { return formats.contains(QLatin1String(type)); });
  return found == types.end() ? nullptr : *found;
}

/// The type to take bytes from; null when there are none, or when there is text to take first.
const char* typeOfBytes(const QStringList& formats) {
  if (const char* type = firstHeld(kBinaryTypes, formats)) return type;
  return firstHeld(kTextTypes, formats) == nullptr ? firstHeld({kOctetStream}, formats) : nullptr;
}

}  // namespace

bool QtPasteboard::setText(std::string text) {
  return publish(std::make_unique<ClipboardContent>(std::move(text)));
}

bool QtPasteboard::setBytes(ByteBuffer bytes, std::string text) {
  return publish(std::make_unique<ClipboardContent>(std::move(bytes), std::move(text)));
}

std::optional<Pasteboard::BoundedBytes> QtPasteboard::bytes(std::int64_t maximumByteCount) const {
  const QMimeData* held = QGuiApplication::clipboard()->mimeData();
  if (held == nullptr) return std::nullopt;
  // Asked for once only: each time may mean waiting for a program that does not answer.
  const char* type = typeOfBytes(held->formats());
  if (type == nullptr) return std::nullopt;
  const QByteArray data = held->data(type);
  if (data.size() > maximumByteCount) return BoundedBytes{.byteCount = data.size()};
  return BoundedBytes{
      .bytes = ByteBuffer(std::span(reinterpret_cast<const std::uint8_t*>(data.constData()),
                                    static_cast<std::size_t>(data.size()))),
      .byteCount = data.size()};
}

std::optional<Pasteboard::BoundedText> QtPasteboard::text(std::int64_t maximumByteCount) const {
  const QMimeData* held = QGuiApplication::clipboard()->mimeData();
  if (held == nullptr) return std::nullopt;
  const char* type = firstHeld(kTextTypes, held->formats());
  if (type == nullptr) return std::nullopt;
  // As bytes the toolkit returns text of whatever encoding in UTF-8.
  QByteArray utf8 = held->data(type);
  if (utf8.size() > maximumByteCount) return BoundedText{.isTooLong = true};
  if (!utf8.isValidUtf8()) utf8 = QString::fromUtf8(utf8).toUtf8();
  if (utf8.size() > maximumByteCount) return BoundedText{.isTooLong = true};
  return BoundedText{.text = utf8.toStdString()};
}

}  // namespace quillmor
