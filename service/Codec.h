#pragma once
#include "platform/SharedLibraries.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace station {

/// The service codec: every request value passes `encode` before it is sent, every reply passes
/// `decode` before it is read. Station and service must use the same one.
class Codec {
public:
    virtual ~Codec() = default;
    virtual std::string encode(std::string_view text) const = 0;
    virtual std::string decode(std::string_view text) const = 0;
};

/// Leaves texts as they are; serves a service that expects plain text.
class IdentityCodec final : public Codec {
public:
    std::string encode(std::string_view text) const override { return std::string(text); }
    std::string decode(std::string_view text) const override { return std::string(text); }
};

struct CodecLoadError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The codec named by a shared library path, or the identity codec for an empty path.
/// The library exports, with C linkage:
///   size_t station_codec_encode(const char* in, size_t inLen, char* out, size_t outCap);
///   size_t station_codec_decode(const char* in, size_t inLen, char* out, size_t outCap);
/// Each returns the length of its result and writes it to `out` when it fits in `outCap`;
/// the caller calls again with a larger buffer otherwise. Throws CodecLoadError when the library
/// or one of the two operations cannot be loaded.
std::unique_ptr<Codec> loadCodec(const std::string& libraryPath, SharedLibraries& libraries);

} // namespace station
