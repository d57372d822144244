#include "faults/window/StatusProbe.h"

#include <cstdio>
#include <stdexcept>

#include "blackbox/ChildProcess.h"

namespace quillmor::test {

namespace {

const QString kBusName = QStringLiteral("status-probe");

}  // namespace

StatusProbe::StatusProbe(const std::string& accessibilityAddress)
    : bus_(QDBusConnection::connectToBus(QString::fromStdString(accessibilityAddress), kBusName)) {
  if (!bus_.isConnected()) throw std::runtime_error("no connection to the accessibility bus");
}

StatusProbe::~StatusProbe() {
  QDBusConnection::disconnectFromBus(kBusName);
}

bool StatusProbe::find(unsigned processID) {
  line_.reset();
  return waitUntil([&] {
    const auto application = findApplication(bus_, processID);
    if (!application) return false;
    for (const Accessible& label : application->allWithRole("label"))
      if (label.description() == "Status") line_ = label;
    return line_ && look().has_value();
  });
}

std::optional<ShownStatus> StatusProbe::look() const {
  if (!line_) return std::nullopt;
  ShownStatus shown{.text = line_->name()};
  long long size = 0;
  long long offset = 0;
  if (std::sscanf(shown.text.c_str(), "Size: %lld bytes | Offset: 0x%llx", &size, &offset) != 2)
    return std::nullopt;
  shown.size = size;
  shown.offset = offset;
  return shown;
}

}  // namespace quillmor::test
