#pragma once
// How a registry value reads as text for the station: the system-information tool's location is
// kept as a string, and a number is read the way the station has always read one.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace station {

/// Registry value types the station reads.
inline constexpr std::uint32_t registryString = 1; // REG_SZ
inline constexpr std::uint32_t registryNumber = 4; // REG_DWORD

/// The value's bytes as text: a string up to its terminating NUL; a 4-byte number as the decimal
/// text of "&h" followed by each byte's hexadecimal digits (no leading zero, as the station's
/// reader has always formed them), most significant byte first, taken as a signed 32-bit number.
/// Nothing for any other type.
std::optional<std::string> registryValueText(std::uint32_t type, const std::vector<std::uint8_t>& bytes);

} // namespace station
