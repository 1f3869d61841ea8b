// A codec plug-in for tests: shifts every byte up by one on encode and back on decode.
#include <cstddef>

namespace {
std::size_t shift(const char* in, std::size_t inLen, char* out, std::size_t outCap, int by) {
    if (inLen <= outCap)
        for (std::size_t i = 0; i < inLen; ++i)
            out[i] = static_cast<char>(in[i] + by);
    return inLen;
}
} // namespace

extern "C" {
#if defined(_WIN32)
__declspec(dllexport)
#endif
    std::size_t station_codec_encode(const char* in, std::size_t inLen, char* out, std::size_t outCap) {
    return shift(in, inLen, out, outCap, 1);
}
#if defined(_WIN32)
__declspec(dllexport)
#endif
    std::size_t station_codec_decode(const char* in, std::size_t inLen, char* out, std::size_t outCap) {
    return shift(in, inLen, out, outCap, -1);
}
}
