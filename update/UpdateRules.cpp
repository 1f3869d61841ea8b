#include "update/UpdateRules.h"

#include <charconv>
#include <cstdio>

namespace station {

std::string markerValue(std::string_view text, std::string_view start, std::string_view end, Yield& yield) {
    yield.yield();
    const auto at = text.find(start);
    if (at == std::string_view::npos)
        return {};
    const auto from = at + start.size();
    const auto to = text.find(end, from);
    if (to == std::string_view::npos || to == from)
        return {};
    std::string value;
    for (const char c : text.substr(from, to - from))
        if (c != ';')
            value += c;
    yield.yield();
    return value;
}

double leadingNumber(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t'))
        ++i;
    const std::size_t begin = i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        ++i;
    bool digits = false;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
        ++i;
        digits = true;
    }
    if (i < text.size() && text[i] == '.') {
        ++i;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
            ++i;
            digits = true;
        }
    }
    if (!digits)
        return 0;
    std::string number(text.substr(begin, i - begin));
    // from_chars takes no "+" and reads "-.5" only as "-0.5".
    if (number.front() == '+')
        number.erase(0, 1);
    const bool negative = number.front() == '-';
    if (negative)
        number.erase(0, 1);
    if (number.front() == '.')
        number.insert(0, "0");
    if (number.back() == '.')
        number.pop_back();
    double value = 0;
    std::from_chars(number.data(), number.data() + number.size(), value, std::chars_format::fixed);
    return negative ? -value : value;
}

std::string versionText(int major, int minor) {
    char minorText[16];
    std::snprintf(minorText, sizeof minorText, "%02d", minor);
    return std::to_string(major) + "." + minorText;
}

bool offersNewerVersion(std::string_view local, std::string_view offered) {
    return leadingNumber(local) < leadingNumber(offered);
}

} // namespace station
