// Network adapters from GetAdaptersInfo: the order and the physical addresses Windows reports.
// The station identity is built from that order, so it stays the source even though its
// descriptions come in the ANSI code page.
#include "platform/win32/WideText.h"

#include "platform/Adapters.h"
#include "platform/NetworkAdapters.h"

#include <iphlpapi.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace station {

namespace {

class Win32NetworkAdapters final : public NetworkAdapters {
public:
    std::vector<Adapter> list() override {
        // The list can grow between the size query and the read when an adapter appears, so the
        // buffer grows a few times at most. A vector of the record type keeps it aligned.
        std::vector<IP_ADAPTER_INFO> buffer(4);
        ULONG size = static_cast<ULONG>(buffer.size() * sizeof(IP_ADAPTER_INFO));
        ULONG result = GetAdaptersInfo(buffer.data(), &size);
        for (int attempt = 0; result == ERROR_BUFFER_OVERFLOW && attempt < 4; ++attempt) {
            buffer.resize(size / sizeof(IP_ADAPTER_INFO) + 1);
            size = static_cast<ULONG>(buffer.size() * sizeof(IP_ADAPTER_INFO));
            result = GetAdaptersInfo(buffer.data(), &size);
        }
        if (result != ERROR_SUCCESS) // ERROR_NO_DATA: no adapters at all
            return {};

        std::vector<Adapter> adapters;
        for (const IP_ADAPTER_INFO* info = buffer.data(); info; info = info->Next) {
            if (info->Type == MIB_IF_TYPE_LOOPBACK)
                continue;
            const std::size_t length = std::min<std::size_t>(info->AddressLength, sizeof info->Address);
            std::vector<std::uint8_t> address(info->Address, info->Address + length);
            if (std::all_of(address.begin(), address.end(), [](std::uint8_t b) { return b == 0; }))
                continue;
            // The description is the name people recognise; the GUID name where there is none.
            const char* name = info->Description[0] != '\0' ? info->Description : info->AdapterName;
            const std::string_view text(
                name, strnlen(name, name == info->Description ? sizeof info->Description : sizeof info->AdapterName));
            adapters.push_back({narrow(wideFromAnsi(text)), std::move(address)});
        }
        return adapters;
    }
};

} // namespace

std::unique_ptr<NetworkAdapters> makeNetworkAdapters() {
    return std::make_unique<Win32NetworkAdapters>();
}

} // namespace station
