#include "core/Environment.h"

#include <cstdlib>

namespace station {

std::optional<std::string> environmentVariable(const char* name) {
#ifdef _WIN32
    char* value = nullptr;
    std::size_t length = 0;
    if (_dupenv_s(&value, &length, name) != 0 || !value)
        return std::nullopt;
    std::string out(value);
    std::free(value);
    return out;
#else
    if (const char* value = std::getenv(name))
        return std::string(value);
    return std::nullopt;
#endif
}

std::tm localTime(std::chrono::system_clock::time_point time) {
    const auto t = std::chrono::system_clock::to_time_t(time);
    std::tm local{};
#ifdef _WIN32
    if (localtime_s(&local, &t) != 0)
        return {};
#else
    if (!localtime_r(&t, &local))
        return {};
#endif
    return local;
}

std::string dateTimeText(std::chrono::system_clock::time_point time) {
    const auto local = localTime(time);
    char buffer[32];
    const auto n = std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &local);
    return std::string(buffer, n);
}

} // namespace station
