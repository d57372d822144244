#include "base/MessageDigest.h"

#include <openssl/evp.h>

#include <array>
#include <new>

#include "base/Error.h"
#include "base/HexText.h"

namespace quillmor {
namespace {

constexpr int kDigestError = 2401;

struct Deleter {
  void operator()(EVP_MD* algorithm) const { EVP_MD_free(algorithm); }
  void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

void check(int result, const std::string& algorithm) {
  if (result == 1) return;
  throw Error::quillmor(kDigestError,
                        "The system could not calculate the " + algorithm + " digest.");
}

}  // namespace

struct MessageDigest::State {
  std::string name;
  std::unique_ptr<EVP_MD, Deleter> algorithm;
  std::unique_ptr<EVP_MD_CTX, Deleter> context;
};

MessageDigest::MessageDigest(const char* algorithm) : state_(std::make_unique<State>()) {
  state_->name = algorithm;
  state_->algorithm.reset(EVP_MD_fetch(nullptr, algorithm, nullptr));
  if (state_->algorithm == nullptr) {
    throw Error::quillmor(kDigestError, "The " + state_->name +
                                            " digest is not available: this system's cryptographic "
                                            "library does not offer it.");
  }
  state_->context.reset(EVP_MD_CTX_new());
  if (state_->context == nullptr) throw std::bad_alloc();
  check(EVP_DigestInit_ex2(state_->context.get(), state_->algorithm.get(), nullptr), state_->name);
}

MessageDigest::~MessageDigest() = default;

void MessageDigest::add(std::span<const std::uint8_t> bytes) {
  check(EVP_DigestUpdate(state_->context.get(), bytes.data(), bytes.size()), state_->name);
}

std::string MessageDigest::finished() {
  std::array<std::uint8_t, EVP_MAX_MD_SIZE> digest{};
  unsigned int length = 0;
  check(EVP_DigestFinal_ex(state_->context.get(), digest.data(), &length), state_->name);
  return lowercaseHex(std::span(digest).first(length));
}

}  // namespace quillmor
