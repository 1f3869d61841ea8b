// An update description from the fuzzer: every key's value is read as the check reads it, and the
// offered version compared with ours. A value never holds a ";", and its number is always a
// number.
#include "update/UpdateRules.h"

#include <cmath>
#include <cstdlib>
#include <string_view>

namespace {

class NoYield : public station::Yield {
public:
    void yield() override {}
    void pause(std::chrono::milliseconds) override {}
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    using namespace station;
    NoYield yield;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const char* key : {"Version =", "ReadMe=", "Size="}) {
        const auto value = markerValue(text, key, "\r\n", yield);
        if (value.find(';') != std::string::npos)
            std::abort();
        if (!std::isfinite(leadingNumber(value)))
            std::abort();
    }
    offersNewerVersion(versionText(2, 1), markerValue(text, "Version =", "\r\n", yield));
    return 0;
}
