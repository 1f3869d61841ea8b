#pragma once
// Text between the station and the Win32 API: the station's strings are UTF-8, the system's
// are UTF-16, so every call goes through the ...W functions with these conversions. The few
// records that exist only in the ANSI code page are converted from it.
//
// winsock2.h comes first: windows.h would otherwise pull in the old winsock.h, whose
// declarations clash with winsock2.h in any file that includes both.
#include <winsock2.h>

#include <windows.h>
// winbase.h keeps Yield() as an empty macro from 16-bit Windows; it would erase the station's
// port of that name from every header read after this one.
#undef Yield

#include <climits>
#include <string>
#include <string_view>

namespace station {

namespace detail {
inline int textLength(std::size_t size) {
    // The conversion functions count in int; longer texts are cut rather than wrapped around.
    return size > static_cast<std::size_t>(INT_MAX) ? INT_MAX : static_cast<int>(size);
}

inline std::wstring toWide(UINT codePage, std::string_view text) {
    if (text.empty())
        return {};
    const int size = detail::textLength(text.size());
    const int length = MultiByteToWideChar(codePage, 0, text.data(), size, nullptr, 0);
    if (length <= 0)
        return {};
    std::wstring out(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(codePage, 0, text.data(), size, out.data(), length);
    return out;
}
} // namespace detail

/// UTF-8 to UTF-16; invalid sequences become U+FFFD.
inline std::wstring wide(std::string_view utf8) {
    return detail::toWide(CP_UTF8, utf8);
}

/// Text in the system's ANSI code page (the char records of older APIs) to UTF-16.
inline std::wstring wideFromAnsi(std::string_view ansi) {
    return detail::toWide(CP_ACP, ansi);
}

/// UTF-16 to UTF-8; unpaired surrogates become U+FFFD.
inline std::string narrow(std::wstring_view utf16) {
    if (utf16.empty())
        return {};
    const int size = detail::textLength(utf16.size());
    const int length = WideCharToMultiByte(CP_UTF8, 0, utf16.data(), size, nullptr, 0, nullptr, nullptr);
    if (length <= 0)
        return {};
    std::string out(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, utf16.data(), size, out.data(), length, nullptr, nullptr);
    return out;
}

/// The system's description of an error code, in UTF-8, with the code after it.
inline std::string systemMessage(DWORD code) {
    wchar_t* buffer = nullptr;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, code, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    std::wstring text(buffer && length ? std::wstring_view(buffer, length) : std::wstring_view(L"error"));
    if (buffer)
        LocalFree(buffer);
    while (!text.empty() && (text.back() == L'\r' || text.back() == L'\n' || text.back() == L' '))
        text.pop_back();
    return narrow(text) + " (" + std::to_string(code) + ")";
}

} // namespace station
