#pragma once
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace station::text {

/// Splits at every occurrence of `sep`. An empty text gives no parts at all; a trailing
/// separator gives a last, empty part ("a|b|" → "a", "b", "").
std::vector<std::string> split(std::string_view text, char sep);

/// The pieces split() gives, one at a time and without copies, for texts too large to hold
/// as separate strings.
class Fields {
public:
    Fields(std::string_view text, char sep) : m_text(text), m_sep(sep), m_done(text.empty()) {}
    /// The next piece; false when none is left.
    bool next(std::string_view& field);

private:
    std::string_view m_text;
    char m_sep;
    bool m_done;
};
/// How many pieces split() would give.
std::size_t countFields(std::string_view text, char sep);

std::string trim(std::string_view text);
std::string replaceAll(std::string_view text, std::string_view from, std::string_view to);
std::string removeAll(std::string_view text, char c);
std::string upper(std::string_view text);
std::string lower(std::string_view text);
bool equalsNoCase(std::string_view a, std::string_view b);

/// Wire texts (service replies, host commands) are single-byte Windows-1252. fromWire gives the
/// same text as UTF-8, for windows, message boxes and every port; the five bytes that code page
/// leaves unassigned keep their own code points, so toWire(fromWire(x)) == x for any x.
std::string fromWire(std::string_view wire);
/// UTF-8 text back to Windows-1252; a character the code page lacks, or a byte that is no
/// valid UTF-8, becomes "?".
std::string toWire(std::string_view utf8);

} // namespace station::text
