#include "update/Minisign.h"

#include <array>
#include <cstdint>
#include <vector>

namespace station::minisign {

namespace {

/// The lines of `text`, each without its LF or CR LF; a last line without one counts too.
std::vector<std::string_view> lines(std::string_view text) {
    std::vector<std::string_view> out;
    while (!text.empty()) {
        const auto end = text.find('\n');
        auto line = text.substr(0, end);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        out.push_back(line);
        if (end == std::string_view::npos)
            break;
        text.remove_prefix(end + 1);
    }
    return out;
}

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

/// The bytes of base64 `line` when there are exactly `size` of them.
std::optional<std::string> decodeSized(std::string_view line, std::size_t size) {
    auto bytes = decodeBase64(line);
    if (!bytes || bytes->size() != size)
        return std::nullopt;
    return bytes;
}

} // namespace

std::optional<std::string> decodeBase64(std::string_view text) {
    static const auto table = [] {
        std::array<signed char, 256> t{};
        t.fill(-1);
        const std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        for (std::size_t i = 0; i < alphabet.size(); ++i)
            t[static_cast<unsigned char>(alphabet[i])] = static_cast<signed char>(i);
        return t;
    }();
    if (text.empty() || text.size() % 4 != 0)
        return std::nullopt;
    std::size_t padding = 0;
    while (padding < 2 && text[text.size() - 1 - padding] == '=')
        ++padding;
    std::string out;
    out.reserve(text.size() / 4 * 3);
    std::uint32_t bits = 0;
    int held = 0;
    for (std::size_t i = 0; i < text.size() - padding; ++i) {
        const auto value = table[static_cast<unsigned char>(text[i])];
        if (value < 0)
            return std::nullopt;
        bits = (bits << 6) | static_cast<std::uint32_t>(value);
        held += 6;
        if (held >= 8) {
            held -= 8;
            out += static_cast<char>((bits >> held) & 0xFF);
        }
    }
    // The bits past the last byte must be zero, or two texts would name the same bytes.
    if ((bits & ((1u << held) - 1)) != 0)
        return std::nullopt;
    return out;
}

std::optional<PublicKey> parsePublicKey(std::string_view text) {
    auto all = lines(text);
    while (!all.empty() && all.back().empty())
        all.pop_back();
    if (all.empty() || all.size() > 2 || (all.size() == 2 && !startsWith(all[0], "untrusted comment:")))
        return std::nullopt;
    const auto bytes = decodeSized(all.back(), 42);
    if (!bytes || !startsWith(*bytes, "Ed"))
        return std::nullopt;
    return PublicKey{bytes->substr(2, 8), bytes->substr(10)};
}

std::optional<Signature> parseSignature(std::string_view text) {
    auto all = lines(text);
    while (!all.empty() && all.back().empty())
        all.pop_back();
    constexpr std::string_view trusted = "trusted comment: ";
    if (all.size() != 4 || !startsWith(all[0], "untrusted comment:") || !startsWith(all[2], trusted))
        return std::nullopt;
    const auto signature = decodeSized(all[1], 74);
    const auto global = decodeSized(all[3], 64);
    if (!signature || !global)
        return std::nullopt;
    const auto algorithm = signature->substr(0, 2);
    if (algorithm != "ED" && algorithm != "Ed")
        return std::nullopt;
    return Signature{algorithm == "ED", signature->substr(2, 8), signature->substr(10),
                     std::string(all[2].substr(trusted.size())), *global};
}

std::string versionIn(std::string_view trustedComment) {
    constexpr std::string_view key = "version=";
    while (!trustedComment.empty()) {
        const auto start = trustedComment.find_first_not_of(" \t");
        if (start == std::string_view::npos)
            break;
        trustedComment.remove_prefix(start);
        const auto field = trustedComment.substr(0, trustedComment.find_first_of(" \t"));
        if (startsWith(field, key))
            return std::string(field.substr(key.size()));
        trustedComment.remove_prefix(field.size());
    }
    return {};
}

} // namespace station::minisign
