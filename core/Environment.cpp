#include "core/Environment.h"

#include <cstdlib>

namespace station {

std::optional<std::string> environmentVariable(const char* name) {
#ifdef _WIN32
    // getenv_s rather than _dupenv_s: the system's msvcrt.dll, which mingw-w64 builds link,
    // does not have the latter.
    // The size query's return code differs between runtimes (0, or ERANGE under Wine's msvcrt);
    // the size it reports does not.
    std::size_t length = 0;
    (void)getenv_s(&length, nullptr, 0, name);
    if (length == 0)
        return std::nullopt;
    std::string out(length, '\0');
    if (getenv_s(&length, out.data(), out.size(), name) != 0)
        return std::nullopt;
    out.resize(length > 0 ? length - 1 : 0); // the length counts the terminator
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
