// The reader's byte stream from the fuzzer, cut into chunks where it says, with the adapter's
// timers running out where it says: every read that completes must be whole and within bounds,
// and nothing may fault. Input: bytes; a 0xFF byte followed by n ends a chunk and, for odd n,
// lets the timer run out.
#include "platform/Limits.h"
#include "platform/MicrProtocol.h"

#include <cstdlib>
#include <string_view>

namespace {

using namespace station;

void checkRead(const micr::Read& read) {
    if (read.check && (!read.tracks[0].empty() || !read.tracks[1].empty() || !read.tracks[2].empty()))
        std::abort();
    if (!read.check && (!read.micrLine.empty() || read.image))
        std::abort();
    if (read.image && read.image->size() > limits::readerImage)
        std::abort();
    for (const auto& track : read.tracks)
        if (track.size() > limits::readerMessage)
            std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    micr::Receiver receiver;
    std::size_t start = 0;
    auto feed = [&](std::string_view chunk) {
        if (receiver.feed(chunk) == micr::Receiver::Action::Complete)
            checkRead(receiver.read());
    };
    for (std::size_t i = 0; i + 1 < input.size(); ++i) {
        if (static_cast<unsigned char>(input[i]) != 0xFF)
            continue;
        feed(input.substr(start, i - start));
        if (static_cast<unsigned char>(input[i + 1]) % 2 && receiver.timeUp() == micr::Receiver::Action::Complete)
            checkRead(receiver.read());
        start = i + 2;
        ++i;
    }
    if (start < input.size())
        feed(input.substr(start));
    if (receiver.timeUp() == micr::Receiver::Action::Complete)
        checkRead(receiver.read());
    const auto message = micr::classify(input);
    micr::Read read;
    micr::addTracks(message.data, read);
    checkRead(read);
    return 0;
}
