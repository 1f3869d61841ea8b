#include "service/Codec.h"

#include <algorithm>

namespace station {
namespace {

using CodecFn = std::size_t (*)(const char*, std::size_t, char*, std::size_t);

class PluginCodec final : public Codec {
public:
    PluginCodec(std::unique_ptr<SharedLibraries::Library> library, const std::string& path)
        : m_library(std::move(library)) {
        m_encode = reinterpret_cast<CodecFn>(m_library->function("station_codec_encode"));
        m_decode = reinterpret_cast<CodecFn>(m_library->function("station_codec_decode"));
        if (!m_encode || !m_decode)
            throw CodecLoadError("codec " + path + " lacks station_codec_encode or station_codec_decode");
    }
    std::string encode(std::string_view text) const override { return run(m_encode, text); }
    std::string decode(std::string_view text) const override { return run(m_decode, text); }

private:
    static std::string run(CodecFn fn, std::string_view text) {
        // Most codecs keep the length roughly; one retry covers any that grow the text.
        std::string out(text.size() + 64, '\0');
        auto needed = fn(text.data(), text.size(), out.data(), out.size());
        if (needed > out.size()) {
            out.assign(needed, '\0');
            needed = fn(text.data(), text.size(), out.data(), out.size());
        }
        out.resize(std::min(needed, out.size()));
        return out;
    }

    std::unique_ptr<SharedLibraries::Library> m_library;
    CodecFn m_encode = nullptr;
    CodecFn m_decode = nullptr;
};

} // namespace

std::unique_ptr<Codec> loadCodec(const std::string& libraryPath, SharedLibraries& libraries) {
    if (libraryPath.empty())
        return std::make_unique<IdentityCodec>();
    try {
        return std::make_unique<PluginCodec>(libraries.load(libraryPath), libraryPath);
    } catch (const SharedLibraries::LoadError& e) {
        throw CodecLoadError("cannot load codec " + libraryPath + ": " + e.what());
    }
}

} // namespace station
