// A codec plug-in for tests that changes the length: encode writes every byte twice, shifted up by
// one; decode takes every second byte back down. A text grows past what the caller first offers.
#include <cstddef>

extern "C" {
#if defined(_WIN32)
__declspec(dllexport)
#endif
    std::size_t station_codec_encode(const char* in, std::size_t inLen, char* out, std::size_t outCap) {
    if (2 * inLen <= outCap)
        for (std::size_t i = 0; i < inLen; ++i)
            out[2 * i] = out[2 * i + 1] = static_cast<char>(in[i] + 1);
    return 2 * inLen;
}
#if defined(_WIN32)
__declspec(dllexport)
#endif
    std::size_t station_codec_decode(const char* in, std::size_t inLen, char* out, std::size_t outCap) {
    if (inLen / 2 <= outCap)
        for (std::size_t i = 0; i < inLen / 2; ++i)
            out[i] = static_cast<char>(in[2 * i] - 1);
    return inLen / 2;
}
}
