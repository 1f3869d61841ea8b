#include "core/Text.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <utility>

namespace station::text {

std::vector<std::string> split(std::string_view text, char sep) {
    std::vector<std::string> parts;
    Fields fields(text, sep);
    for (std::string_view part; fields.next(part);)
        parts.emplace_back(part);
    return parts;
}

bool Fields::next(std::string_view& field) {
    if (m_done)
        return false;
    const auto pos = m_text.find(m_sep);
    if (pos == std::string_view::npos) {
        field = m_text;
        m_done = true;
        return true;
    }
    field = m_text.substr(0, pos);
    m_text.remove_prefix(pos + 1);
    return true;
}

std::size_t countFields(std::string_view text, char sep) {
    return text.empty() ? 0 : static_cast<std::size_t>(std::ranges::count(text, sep)) + 1;
}

namespace {

// Code points of the bytes 0x80..0x9F; 0 where the code page assigns none (the byte then
// stands for the control character of the same number).
constexpr char32_t cp1252High[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
};

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

char wireByte(char32_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
        return static_cast<char>(c);
    for (std::size_t i = 0; i < std::size(cp1252High); ++i)
        if (cp1252High[i] == c || (cp1252High[i] == 0 && c == 0x80 + i))
            return static_cast<char>(0x80 + i);
    return '?';
}

// The code point of the UTF-8 sequence at `i` and its length; length 0 for a byte that starts
// no valid sequence (overlong forms and surrogates included).
std::pair<char32_t, std::size_t> decodeUtf8(std::string_view s, std::size_t i) {
    const auto b = static_cast<unsigned char>(s[i]);
    std::size_t length = b < 0x80 ? 1 : (b >> 5) == 0x6 ? 2 : (b >> 4) == 0xE ? 3 : (b >> 3) == 0x1E ? 4 : 0;
    if (length == 0 || i + length > s.size())
        return {0, 0};
    char32_t c = length == 1 ? b : b & (0x7F >> length);
    for (std::size_t k = 1; k < length; ++k) {
        const auto next = static_cast<unsigned char>(s[i + k]);
        if ((next & 0xC0) != 0x80)
            return {0, 0};
        c = (c << 6) | (next & 0x3F);
    }
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (c < smallest[length] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))
        return {0, 0};
    return {c, length};
}

} // namespace

std::string fromWire(std::string_view wire) {
    std::string out;
    out.reserve(wire.size() + wire.size() / 4);
    for (const char ch : wire) {
        const auto b = static_cast<unsigned char>(ch);
        const char32_t mapped = b >= 0x80 && b < 0xA0 && cp1252High[b - 0x80] != 0 ? cp1252High[b - 0x80] : b;
        appendUtf8(out, mapped);
    }
    return out;
}

std::string toWire(std::string_view utf8) {
    std::string out;
    out.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        const auto [c, length] = decodeUtf8(utf8, i);
        out += length == 0 ? '?' : wireByte(c);
        i += length == 0 ? 1 : length;
    }
    return out;
}

std::string trim(std::string_view text) {
    // Blanks only, the way the station's texts are padded; tabs and line ends are data.
    const auto first = text.find_first_not_of(' ');
    if (first == std::string_view::npos)
        return {};
    const auto last = text.find_last_not_of(' ');
    return std::string(text.substr(first, last - first + 1));
}

std::string replaceAll(std::string_view text, std::string_view from, std::string_view to) {
    std::string out;
    out.reserve(text.size());
    std::size_t start = 0;
    for (auto pos = text.find(from); !from.empty() && pos != std::string_view::npos; pos = text.find(from, start)) {
        out.append(text.substr(start, pos - start)).append(to);
        start = pos + from.size();
    }
    out.append(text.substr(start));
    return out;
}

std::string removeAll(std::string_view text, char c) {
    std::string out(text);
    std::erase(out, c);
    return out;
}

std::string upper(std::string_view text) {
    std::string out(text);
    std::ranges::transform(out, out.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return out;
}

std::string lower(std::string_view text) {
    std::string out(text);
    std::ranges::transform(out, out.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return out;
}

bool equalsNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::ranges::equal(a, b, [](unsigned char x, unsigned char y) {
               return std::tolower(x) == std::tolower(y);
           });
}

} // namespace station::text
