#include "tools/devservice/FileAccess.h"

#include <fstream>
#include <iterator>
#include <system_error>

namespace devservice {

namespace {

bool segmentAllowed(std::string_view segment) {
    if (segment.empty() || segment == "." || segment == "..")
        return false;
    for (char c : segment)
        if (c == '\\' || c == ':' || c == '\0' || c == '%')
            return false;
    return true;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
        if (lower(a[i]) != lower(b[i]))
            return false;
    }
    return true;
}

} // namespace

std::optional<std::filesystem::path> resolveInside(const std::filesystem::path& root, std::string_view relative) {
    if (relative.empty())
        return std::nullopt;
    std::filesystem::path result = root;
    std::size_t start = 0;
    for (;;) {
        const std::size_t slash = relative.find('/', start);
        const auto segment = relative.substr(start, slash == std::string_view::npos ? slash : slash - start);
        if (!segmentAllowed(segment))
            return std::nullopt;
        result /= std::filesystem::path(std::string(segment));
        if (slash == std::string_view::npos)
            break;
        start = slash + 1;
    }
    // The segment checks keep the text inside; this also refuses a symbolic link in the folder
    // that points out of it.
    std::error_code rootError, resultError;
    const auto canonicalRoot = std::filesystem::weakly_canonical(root, rootError);
    const auto canonicalResult = std::filesystem::weakly_canonical(result, resultError);
    if (rootError || resultError)
        return std::nullopt;
    const auto inside = canonicalResult.lexically_relative(canonicalRoot);
    if (inside.empty() || *inside.begin() == "..")
        return std::nullopt;
    return result;
}

std::string base64Encode(std::string_view bytes) {
    static constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    std::size_t i = 0;
    for (; i + 2 < bytes.size(); i += 3) {
        const unsigned v = static_cast<unsigned char>(bytes[i]) << 16 | static_cast<unsigned char>(bytes[i + 1]) << 8 |
                           static_cast<unsigned char>(bytes[i + 2]);
        out += alphabet[v >> 18 & 63];
        out += alphabet[v >> 12 & 63];
        out += alphabet[v >> 6 & 63];
        out += alphabet[v & 63];
    }
    const std::size_t rest = bytes.size() - i;
    if (rest > 0) {
        unsigned v = static_cast<unsigned char>(bytes[i]) << 16;
        if (rest == 2)
            v |= static_cast<unsigned char>(bytes[i + 1]) << 8;
        out += alphabet[v >> 18 & 63];
        out += alphabet[v >> 12 & 63];
        out += rest == 2 ? alphabet[v >> 6 & 63] : '=';
        out += '=';
    }
    return out;
}

bool basicAuthMatches(std::string_view authorization, std::string_view user, std::string_view password) {
    const std::size_t blank = authorization.find(' ');
    if (blank == std::string_view::npos || !equalsIgnoringCase(authorization.substr(0, blank), "Basic"))
        return false;
    auto token = authorization.substr(blank + 1);
    while (!token.empty() && token.front() == ' ')
        token.remove_prefix(1);
    while (!token.empty() && token.back() == ' ')
        token.remove_suffix(1);
    std::string credentials(user);
    credentials += ':';
    credentials += password;
    return token == base64Encode(credentials);
}

std::optional<std::string> readWholeFile(const std::filesystem::path& path) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec))
        return std::nullopt;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.bad())
        return std::nullopt;
    return bytes;
}

} // namespace devservice
