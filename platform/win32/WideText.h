#pragma once
// Text between the station and the Win32 API: the station's strings are UTF-8, the system's
// are UTF-16, so every call goes through the ...W functions with these conversions.
#include <windows.h>

#include <string>
#include <string_view>

namespace station {

/// UTF-8 to UTF-16; invalid sequences become U+FFFD.
inline std::wstring wide(std::string_view utf8) {
    if (utf8.empty())
        return {};
    const int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring out(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), out.data(), length);
    return out;
}

/// UTF-16 to UTF-8.
inline std::string narrow(std::wstring_view utf16) {
    if (utf16.empty())
        return {};
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, utf16.data(), static_cast<int>(utf16.size()), nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, utf16.data(), static_cast<int>(utf16.size()), out.data(), length, nullptr, nullptr);
    return out;
}

/// The system's description of an error code, in UTF-8.
inline std::string systemMessage(DWORD code) {
    wchar_t* buffer = nullptr;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, code, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    std::wstring text(buffer ? std::wstring_view(buffer, length) : std::wstring_view(L"error"));
    if (buffer)
        LocalFree(buffer);
    while (!text.empty() && (text.back() == L'\r' || text.back() == L'\n' || text.back() == L' '))
        text.pop_back();
    return narrow(text) + " (" + std::to_string(code) + ")";
}

} // namespace station
