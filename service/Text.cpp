#include "service/Text.h"

#include <algorithm>
#include <cctype>

namespace station::text {

std::vector<std::string> split(std::string_view text, char sep) {
    std::vector<std::string> parts;
    if (text.empty())
        return parts;
    std::size_t start = 0;
    for (;;) {
        const auto pos = text.find(sep, start);
        if (pos == std::string_view::npos) {
            parts.emplace_back(text.substr(start));
            return parts;
        }
        parts.emplace_back(text.substr(start, pos - start));
        start = pos + 1;
    }
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
