// Option ROMs and ACPI tables.

#include "cli/Commands.h"
#include "cli/Delivery.h"
#include "tools/firmware/AcpiTables.h"
#include "tools/firmware/PCIRomInfo.h"
#include "tools/firmware/PolarisRom.h"

namespace quillmor::cli {

namespace {

constexpr const char* kCalculating = "Calculating";

PCIRomValidation requireValidRom(const ByteBuffer& bytes) {
  const auto validation = validatePCIRomForPolarisPreset(bytes.span());
  if (!validation.isOk()) throw validation.error();
  return validation.value();
}

}  // namespace

Outcome pciRom(const Arguments& arguments, Session& session) {
  const OpenDocument document = openDocument(arguments, session);
  session.print(pciRomInfo(document.bytes().span()));
  return hasOptionRomSignature(document.bytes().span()) ? Outcome::done : Outcome::no;
}

Outcome acpiValidate(const Arguments& arguments, Session& session) {
  const OpenDocument document = openDocument(arguments, session);
  const ACPIValidation validation =
      validateACPIChecksum(document.bytes().span(), &session.beginPart(kCalculating));
  session.print(validation.text);
  return validation.isValid ? Outcome::done : Outcome::no;
}

Outcome acpiFix(const Arguments& arguments, Session& session) {
  const OpenDocument document = openDocument(arguments, session);
  const ACPIChecksumFix fix =
      acpiChecksumFix(document.bytes().span(), &session.beginPart(kCalculating));
  ByteBuffer fixed = document.bytes();
  if (fix.newValue != fix.oldValue) fixed.set(kACPIChecksumOffset, fix.newValue);
  deliverBytes(arguments, session, document, std::move(fixed), acpiChecksumFixText(fix));
  return Outcome::done;
}

Outcome polarisValidate(const Arguments& arguments, Session& session) {
  const OpenDocument document = openDocument(arguments, session);
  const PCIRomValidation validation = requireValidRom(document.bytes());
  session.print(polarisValidationText(document.bytes().span(), validation));
  const auto sum = polarisImageSum(document.bytes().span(), validation.imageSize);
  return sum == 0 ? Outcome::done : Outcome::no;
}

Outcome polarisFix(const Arguments& arguments, Session& session) {
  const OpenDocument document = openDocument(arguments, session);
  const auto fix = polarisChecksumFix(document.bytes().span(), requireValidRom(document.bytes()));
  ByteBuffer fixed = document.bytes();
  if (fix.changed) fixed.set(fix.checksumOffset, fix.newChecksum);
  deliverBytes(arguments, session, document, std::move(fixed), polarisChecksumReport(fix));
  return Outcome::done;
}

Outcome rx580(const Arguments& arguments, Session& session) {
  const OpenDocument document = openDocument(arguments, session);
  const Rx580PatchRun run =
      applyRx580MacOSPatchRules(document.bytes().span(), requireValidRom(document.bytes()));
  ByteBuffer patched = document.bytes();
  patched.replace(0, std::ssize(run.region), run.region);
  std::string text = rx580ResultText(run);
  bool isChanged = run.totalReplacements > 0;
  if (arguments.has("--fix-checksum")) {
    const auto fix = polarisChecksumFix(patched.span(), requireValidRom(patched));
    if (fix.changed) patched.set(fix.checksumOffset, fix.newChecksum);
    text = rx580AndFixResultText(run, fix);
    isChanged = isChanged || fix.changed;
  }
  if (!isChanged) {
    session.print(text);
    return Outcome::no;
  }
  deliverBytes(arguments, session, document, std::move(patched), text);
  return Outcome::done;
}

}  // namespace quillmor::cli
