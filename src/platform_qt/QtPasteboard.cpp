#include "platform_qt/QtPasteboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <memory>

namespace quillmor {

namespace {

constexpr const char* kBinaryData = "com.tenvale.Quillmor.binary-data";
constexpr const char* kGenericBinaryData = "com.tenvale.binary-data";
constexpr const char* kOctetStream = "application/octet-stream";
constexpr const char* kPlainText = "text/plain";

/// In the order in which they are looked for.
constexpr const char* kReadTypes[] = {kBinaryData, kGenericBinaryData, kOctetStream};

/// Bytes and their text, copied for the toolkit only when some program asks for them: tens of MiB
/// that would hold up the window.
class BytesOnClipboard : public QMimeData {
 public:
  BytesOnClipboard(ByteBuffer bytes, std::string text)
      : bytes_(std::move(bytes)), text_(std::move(text)) {}

  QStringList formats() const override { return {kBinaryData, kOctetStream, kPlainText}; }

 protected:
  QVariant retrieveData(const QString& mimeType, QMetaType) const override {
    if (mimeType == kPlainText) return QByteArray::fromStdString(text_);
    if (!formats().contains(mimeType)) return {};
    return QByteArray(reinterpret_cast<const char*>(bytes_.data()),
                      static_cast<qsizetype>(bytes_.size()));
  }

 private:
  const ByteBuffer bytes_;
  const std::string text_;
};

/// Hands `data` to the desktop; the toolkit tells of a refusal only by holding something else
/// afterwards.
bool publish(std::unique_ptr<QMimeData> data) {
  QClipboard& clipboard = *QGuiApplication::clipboard();
  const QStringList published = data->formats();
  clipboard.clear();
  clipboard.setMimeData(data.release());
  const QMimeData* held = clipboard.mimeData();
  return held != nullptr &&
         std::ranges::all_of(published, [&](const QString& type) { return held->hasFormat(type); });
}

}  // namespace

bool QtPasteboard::setText(const std::string& text) {
  auto data = std::make_unique<QMimeData>();
  data->setText(QString::fromStdString(text));
  return publish(std::move(data));
}

bool QtPasteboard::setBytes(ByteBuffer bytes, std::string text) {
  return publish(std::make_unique<BytesOnClipboard>(std::move(bytes), std::move(text)));
}

std::optional<ByteBuffer> QtPasteboard::bytes() const {
  const QMimeData* held = QGuiApplication::clipboard()->mimeData();
  if (held == nullptr) return std::nullopt;
  for (const char* type : kReadTypes) {
    if (!held->hasFormat(type)) continue;
    const QByteArray data = held->data(type);
    return ByteBuffer(std::span(reinterpret_cast<const std::uint8_t*>(data.constData()),
                                static_cast<std::size_t>(data.size())));
  }
  return std::nullopt;
}

std::optional<Pasteboard::BoundedText> QtPasteboard::text(std::int64_t maximumByteCount) const {
  const QMimeData* held = QGuiApplication::clipboard()->mimeData();
  if (held == nullptr || !held->hasText()) return std::nullopt;
  const QString text = held->text();
  // Every UTF-16 unit is at least one byte of UTF-8: most texts too long are refused uncopied.
  if (text.size() > maximumByteCount) return BoundedText{.isTooLong = true};
  std::string utf8 = text.toStdString();
  if (static_cast<std::int64_t>(utf8.size()) > maximumByteCount)
    return BoundedText{.isTooLong = true};
  return BoundedText{.text = std::move(utf8)};
}

}  // namespace quillmor
