#include "platform/StationConfig.h"

#include "BuildConfig.h"
#include "core/Environment.h"

#include <charconv>

namespace station {

StationConfig StationConfig::resolve(const Lookup& lookup) {
    auto pick = [&](const char* name, const char* builtIn) {
        auto value = lookup(name);
        return value ? *value : std::string(builtIn);
    };
    StationConfig c;
    c.serviceUrl = pick("STATION_SERVICE_URL", build::serviceUrl);
    c.reportsUrl = pick("STATION_REPORTS_URL", build::reportsUrl);
    c.updateUrl = pick("STATION_UPDATE_URL", build::updateUrl);
    c.ftpHost = pick("STATION_FTP_HOST", build::ftpHost);
    c.backofficeHost = pick("STATION_BACKOFFICE_HOST", build::backofficeHost);
    c.serverList = pick("STATION_SERVER_LIST", build::serverList);
    c.codec = pick("STATION_CODEC", build::codec);
    c.updatePublicKey = pick("STATION_UPDATE_PUBLIC_KEY", build::updatePublicKey);
    // A rig value that is not a positive number keeps the real interval.
    auto rigMs = [&](const char* name, int& target) {
        if (auto value = lookup(name)) {
            int ms = 0;
            auto [end, ec] = std::from_chars(value->data(), value->data() + value->size(), ms);
            if (ec == std::errc() && end == value->data() + value->size() && ms > 0)
                target = ms;
        }
    };
    const auto set = [&](const char* name) {
        auto value = lookup(name);
        return value && !value->empty() ? value : std::nullopt;
    };
#ifdef _WIN32
    if (const auto local = set("LOCALAPPDATA"))
        c.userFolder = *local + "\\VORNE Terminal";
#else
    if (const auto data = set("XDG_DATA_HOME"))
        c.userFolder = *data + "/vorne-terminal";
    else if (const auto home = set("HOME"))
        c.userFolder = *home + "/.local/share/vorne-terminal";
#endif
    rigMs("STATION_TICK_MS", c.tickMs);
    rigMs("STATION_READER_WAIT_MS", c.readerWaitMs);
    return c;
}

StationConfig StationConfig::fromEnvironment() {
    return resolve(environmentVariable);
}

} // namespace station
