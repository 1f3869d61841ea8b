// A library that exports only one of the codec's two operations.
#include <cstddef>

extern "C" std::size_t station_codec_encode(const char*, std::size_t inLen, char*, std::size_t) {
    return inLen;
}
