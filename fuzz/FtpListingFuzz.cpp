// A listing as an FTP server might send it: every name read from it lies within one line of the
// input, and reading never faults.
#include "platform/FtpListing.h"

#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view listing(reinterpret_cast<const char*>(data), size);
    for (const auto& name : station::ftpEntryNames(listing))
        if (name.empty() || name.find('\n') != std::string::npos || listing.find(name) == std::string_view::npos)
            std::abort();
    return 0;
}
