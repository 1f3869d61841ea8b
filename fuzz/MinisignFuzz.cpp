// Release signature files and key texts from the fuzzer: what the reader accepts has exactly the
// sizes minisign writes, a trusted comment of one line, a version without blanks, and base64 that
// reads back as the very text it came from.
#include "update/Minisign.h"

#include <cstdlib>
#include <string>
#include <string_view>

namespace {

std::string encode(std::string_view bytes) {
    static constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        unsigned value = static_cast<unsigned char>(bytes[i]) << 16;
        if (i + 1 < bytes.size())
            value |= static_cast<unsigned char>(bytes[i + 1]) << 8;
        if (i + 2 < bytes.size())
            value |= static_cast<unsigned char>(bytes[i + 2]);
        out += alphabet[(value >> 18) & 63];
        out += alphabet[(value >> 12) & 63];
        out += i + 1 < bytes.size() ? alphabet[(value >> 6) & 63] : '=';
        out += i + 2 < bytes.size() ? alphabet[value & 63] : '=';
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    using namespace station::minisign;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto key = parsePublicKey(text); key && (key->keyId.size() != 8 || key->key.size() != 32))
        std::abort();
    if (const auto signature = parseSignature(text)) {
        if (signature->keyId.size() != 8 || signature->signature.size() != 64 ||
            signature->globalSignature.size() != 64 || signature->trustedComment.find('\n') != std::string::npos)
            std::abort();
        if (versionIn(signature->trustedComment).find_first_of(" \t") != std::string::npos)
            std::abort();
    }
    if (const auto bytes = decodeBase64(text); bytes && encode(*bytes) != text)
        std::abort();
    return 0;
}
