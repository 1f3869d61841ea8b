// A connection file from the fuzzer: it loads or is refused with a reason, never a fault; what
// loads is written back and loads again with the same values, cut and padded.
#include "connection/ConnectionFile.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    using namespace station;
    ConnectionRow row;
    try {
        row = readConnectionFile(std::string_view(reinterpret_cast<const char*>(data), size));
    } catch (const ConnectionFileError&) {
        return 0;
    }
    const auto again = readConnectionFile(writeConnectionFile(row));
    const auto same = [](const std::optional<std::string>& written, const std::optional<std::string>& read) {
        return written.has_value() == read.has_value() &&
               (!written || fixedLength(*written, connectionFieldLength) == *read);
    };
    if (!same(row.username, again.username) || !same(row.password, again.password) || !same(row.domain, again.domain) ||
        !same(row.ip, again.ip) || !same(row.station, again.station))
        std::abort();
    return 0;
}
