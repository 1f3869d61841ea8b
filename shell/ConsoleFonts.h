#pragma once
#include <array>
#include <string>

namespace station {

/// A console font the telnet client offers: index as the console knows it, character cell size.
struct ConsoleFont {
    int index;
    int width;
    int height;
};

/// The console font sizes the telnet client offers, in the order the Tools menu lists them.
std::array<ConsoleFont, 10> whatsSupported();
/// Tools menu text of a font: the index, ":", then the cell size ("3: 16 x 8").
std::string consoleFontMenuText(const ConsoleFont& font);
/// The font index in front of the first ":" of a menu text; -1 when there is none.
int consoleFontFromMenuText(const std::string& text);

} // namespace station
