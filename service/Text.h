#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace station::text {

/// Splits at every occurrence of `sep`. An empty text gives no parts at all; a trailing
/// separator gives a last, empty part ("a|b|" → "a", "b", "").
std::vector<std::string> split(std::string_view text, char sep);
std::string trim(std::string_view text);
std::string replaceAll(std::string_view text, std::string_view from, std::string_view to);
std::string removeAll(std::string_view text, char c);
std::string upper(std::string_view text);
std::string lower(std::string_view text);
bool equalsNoCase(std::string_view a, std::string_view b);

} // namespace station::text
