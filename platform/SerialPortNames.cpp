#include "platform/SerialPortNames.h"

#include "core/Environment.h"
#include "core/Text.h"

#include <charconv>
#include <filesystem>

namespace station {

namespace {
#ifdef _WIN32
constexpr bool windowsSystem = true;
#else
constexpr bool windowsSystem = false;
#endif
} // namespace

std::optional<int> serialPortNumber(std::string_view portName) {
    if (portName.size() < 4 || !text::equalsNoCase(portName.substr(0, 3), "COM"))
        return std::nullopt;
    const auto digits = portName.substr(3);
    if (digits.front() == '0')
        return std::nullopt;
    int n = 0;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), n);
    if (ec != std::errc{} || end != digits.data() + digits.size() || n < 1 || n > 255)
        return std::nullopt;
    return n;
}

std::optional<std::string> serialDevicePath(std::string_view portName, bool windows,
                                            const std::optional<std::string>& serialDir) {
    const auto n = serialPortNumber(portName);
    if (!n)
        return std::nullopt;
    const auto name = "COM" + std::to_string(*n);
    if (windows)
        return "\\\\.\\" + name;
    if (serialDir)
        return (std::filesystem::path(*serialDir) / name).string();
    return "/dev/ttyS" + std::to_string(*n - 1);
}

std::optional<std::string> systemSerialDevicePath(std::string_view portName) {
    return serialDevicePath(portName, windowsSystem, environmentVariable("STATION_SERIAL_DIR"));
}

std::string readerTestImagePath(bool windows, const std::string& tempFolder) {
    if (windows)
        return "c:\\test.tif";
    return (std::filesystem::path(tempFolder) / "test.tif").string();
}

std::string systemReaderTestImagePath(const std::string& tempFolder) {
    return readerTestImagePath(windowsSystem, tempFolder);
}

} // namespace station
