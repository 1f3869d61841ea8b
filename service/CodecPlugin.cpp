#include "service/Codec.h"

#include <QLibrary>

namespace station {
namespace {

using CodecFn = std::size_t (*)(const char*, std::size_t, char*, std::size_t);

class PluginCodec final : public Codec {
public:
    explicit PluginCodec(const std::string& path) : m_library(QString::fromStdString(path)) {
        if (!m_library.load())
            throw CodecLoadError("cannot load codec " + path + ": " + m_library.errorString().toStdString());
        m_encode = reinterpret_cast<CodecFn>(m_library.resolve("station_codec_encode"));
        m_decode = reinterpret_cast<CodecFn>(m_library.resolve("station_codec_decode"));
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

    QLibrary m_library;
    CodecFn m_encode = nullptr;
    CodecFn m_decode = nullptr;
};

} // namespace

std::unique_ptr<Codec> loadCodec(const std::string& libraryPath) {
    if (libraryPath.empty())
        return std::make_unique<IdentityCodec>();
    return std::make_unique<PluginCodec>(libraryPath);
}

} // namespace station
