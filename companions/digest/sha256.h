#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

struct evp_md_ctx_st;

namespace digest {

/** Hexadecimal digits of a SHA-256. */
constexpr std::size_t SHA256_DIGITS = 64;

/** The digits in lower case; no value if the text is not exactly the digits of a SHA-256. */
std::optional<std::string> ReadSha256(const std::string& text);

/**
 * Computes the SHA-256 of bytes that arrive in pieces, with libcrypto. After an error of the
 * library the digest is empty. One thread.
 */
class Sha256 {
  public:
    Sha256();

    void add(const void* bytes, std::size_t count);
    /** SHA256_DIGITS digits in lower case; empty if the library failed. To be called once. */
    std::string hex();

  private:
    struct FreeContext {
        void operator()(evp_md_ctx_st* context) const;
    };
    std::unique_ptr<evp_md_ctx_st, FreeContext> i_context;
    bool i_good;
};

}  // namespace digest
