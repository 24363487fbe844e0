#include "companions/digest/sha256.h"

#include <openssl/evp.h>

#include <algorithm>
#include <cctype>

namespace digest {

std::optional<std::string> ReadSha256(const std::string& text) {
    if (text.size() != SHA256_DIGITS ||
        text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        return std::nullopt;
    }
    std::string digits = text;
    std::transform(digits.begin(), digits.end(), digits.begin(), tolower);
    return digits;
}

void Sha256::FreeContext::operator()(evp_md_ctx_st* context) const {
    EVP_MD_CTX_free(context);
}

Sha256::Sha256()
    : i_context(EVP_MD_CTX_new()),
      i_good(i_context && EVP_DigestInit_ex(i_context.get(), EVP_sha256(), nullptr) == 1) {}

void Sha256::add(const void* bytes, std::size_t count) {
    i_good = i_good && EVP_DigestUpdate(i_context.get(), bytes, count) == 1;
}

std::string Sha256::hex() {
    unsigned char bytes[EVP_MAX_MD_SIZE];
    unsigned count = 0;
    if (!i_good || EVP_DigestFinal_ex(i_context.get(), bytes, &count) != 1) {
        return "";
    }
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 0xF];
    }
    return text;
}

}  // namespace digest
