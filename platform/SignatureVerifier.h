#pragma once
#include <string>

namespace station {

/// Checks detached Ed25519 signatures (RFC 8032) of files.
class SignatureVerifier {
public:
    struct Result {
        bool valid = false;
        std::string reason; ///< why not, in words, when !valid
    };
    virtual ~SignatureVerifier() = default;
    /// Whether `signatureBase64` is a signature of the bytes of the file at `path` made with the
    /// private key of `publicKeyBase64` (32 bytes).
    virtual Result verifyFile(const std::string& path, const std::string& signatureBase64,
                              const std::string& publicKeyBase64) = 0;
};

} // namespace station
