#include "platform/FtpListing.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>

namespace station {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

bool allDigits(std::string_view s) {
    return !s.empty() && std::all_of(s.begin(), s.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

/// The line cut into blank-separated words, each with where it starts.
struct Word {
    std::string_view text;
    std::size_t start;
};

std::vector<Word> words(std::string_view line, std::size_t most) {
    std::vector<Word> out;
    std::size_t i = 0;
    while (out.size() < most) {
        while (i < line.size() && isBlank(line[i]))
            ++i;
        if (i == line.size())
            break;
        const std::size_t start = i;
        while (i < line.size() && !isBlank(line[i]))
            ++i;
        out.push_back({line.substr(start, i - start), start});
    }
    return out;
}

bool isMonth(std::string_view word) {
    static constexpr std::array<std::string_view, 12> months{"jan", "feb", "mar", "apr", "may", "jun",
                                                             "jul", "aug", "sep", "oct", "nov", "dec"};
    if (word.size() != 3)
        return false;
    std::string lower(word);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::find(months.begin(), months.end(), lower) != months.end();
}

/// "19:00" or "2026".
bool isTimeOrYear(std::string_view word) {
    if (word.size() == 4 && allDigits(word))
        return true;
    const auto colon = word.find(':');
    return colon != std::string_view::npos && allDigits(word.substr(0, colon)) && allDigits(word.substr(colon + 1));
}

/// The name after the date of a Unix-style line: the permissions come first, then links, owner,
/// group (some servers leave it out) and size, then month, day and time or year. The name begins
/// after the one blank that follows the date.
std::optional<std::string_view> unixName(std::string_view line) {
    if (line.size() < 10 || std::string_view("-dlcbps").find(line[0]) == std::string_view::npos)
        return std::nullopt;
    const auto w = words(line, 9);
    for (std::size_t m = 3; m + 2 < w.size(); ++m) {
        if (!isMonth(w[m].text) || !allDigits(w[m + 1].text) || !isTimeOrYear(w[m + 2].text))
            continue;
        const std::size_t end = w[m + 2].start + w[m + 2].text.size();
        if (end + 1 >= line.size())
            return std::nullopt;
        std::string_view name = line.substr(end + 1);
        // A link shows its target after " -> "; its own name is what comes before.
        if (line[0] == 'l')
            if (const auto arrow = name.find(" -> "); arrow != std::string_view::npos)
                name = name.substr(0, arrow);
        return name;
    }
    return std::nullopt;
}

/// "11-23-26" (or with a four-digit year) and "07:00PM".
std::optional<std::string_view> dosName(std::string_view line) {
    const auto w = words(line, 4);
    if (w.size() < 4)
        return std::nullopt;
    const auto date = w[0].text;
    if (date.size() < 8 || date[2] != '-' || date[5] != '-' || !allDigits(date.substr(0, 2)) ||
        !allDigits(date.substr(3, 2)) || !allDigits(date.substr(6)))
        return std::nullopt;
    const auto time = w[1].text;
    if (time.size() < 6 || !isTimeOrYear(time.substr(0, time.size() - 2)))
        return std::nullopt;
    if (w[2].text != "<DIR>" && !allDigits(w[2].text))
        return std::nullopt;
    return line.substr(w[3].start);
}

/// The names `nameOf` finds in the listing's lines (CR LF or LF), without "." and "..".
template <typename NameOf> std::vector<std::string> namesIn(std::string_view listing, NameOf nameOf) {
    std::vector<std::string> out;
    while (!listing.empty()) {
        const auto end = listing.find('\n');
        std::string_view line = listing.substr(0, end);
        listing = end == std::string_view::npos ? std::string_view() : listing.substr(end + 1);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        const std::optional<std::string_view> name = nameOf(line);
        if (name && !name->empty() && *name != "." && *name != "..")
            out.emplace_back(*name);
    }
    return out;
}

} // namespace

std::vector<std::string> ftpEntryNames(std::string_view listing) {
    return namesIn(listing, [](std::string_view line) {
        auto name = unixName(line);
        return name ? name : dosName(line);
    });
}

std::vector<std::string> ftpNames(std::string_view listing) {
    return namesIn(listing, [](std::string_view line) -> std::optional<std::string_view> {
        if (const auto slash = line.rfind('/'); slash != std::string_view::npos)
            line.remove_prefix(slash + 1);
        return line;
    });
}

} // namespace station
