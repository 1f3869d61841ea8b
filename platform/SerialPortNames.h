#pragma once
// Serial ports are "COMn" everywhere the user and the settings see them. Where such a name leads
// differs per system, and test rigs and demos point it at pseudo-terminals.
#include <optional>
#include <string>
#include <string_view>

namespace station {

/// n of "COMn" (letters in any case, n from 1 to 255); nothing for any other text.
std::optional<int> serialPortNumber(std::string_view portName);

/// The device to open for port `portName`: on Windows "\\.\COMn" (the form that also reaches
/// COM10 and above); elsewhere the file "COMn" in `serialDir` when one is given, else
/// "/dev/ttyS<n-1>". Nothing when the name is no serial port.
std::optional<std::string> serialDevicePath(std::string_view portName, bool windows,
                                            const std::optional<std::string>& serialDir);

/// serialDevicePath() for this system, with STATION_SERIAL_DIR as the folder.
std::optional<std::string> systemSerialDevicePath(std::string_view portName);

/// Where the reader test stores the check image: "c:\test.tif" on Windows, "test.tif" in
/// `tempFolder` elsewhere.
std::string readerTestImagePath(bool windows, const std::string& tempFolder);
/// readerTestImagePath() for this system.
std::string systemReaderTestImagePath(const std::string& tempFolder);

} // namespace station
