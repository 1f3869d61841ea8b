#pragma once
#include "platform/FileDownloader.h"

#include <memory>
#include <string>
#include <string_view>

namespace station {

/// The primitives that release signatures are checked with: a BLAKE2b-512 digest taken piece by
/// piece as a file's bytes arrive, and Ed25519 (RFC 8032) over short messages.
class SignatureVerifier {
public:
    /// A digest that takes the bytes in order; `finish` gives the 64-byte BLAKE2b-512 value.
    class Digest : public ByteSink {
    public:
        virtual std::string finish() = 0;
    };

    virtual ~SignatureVerifier() = default;
    virtual std::shared_ptr<Digest> blake2b512() = 0;
    /// Whether `signature` (64 bytes) was made over `message` with the private key of
    /// `publicKey` (32 raw bytes).
    virtual bool ed25519(std::string_view publicKey, std::string_view message, std::string_view signature) = 0;
};

} // namespace station
