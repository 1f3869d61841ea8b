#include "shell/ConsoleFonts.h"

#include "core/Text.h"

#include <charconv>

namespace station {

std::array<ConsoleFont, 10> whatsSupported() {
    return {{{0, 4, 6},
             {1, 6, 8},
             {2, 8, 8},
             {3, 16, 8},
             {4, 5, 12},
             {5, 7, 12},
             {6, 8, 12},
             {7, 16, 12},
             {8, 12, 16},
             {9, 10, 18}}};
}

std::string consoleFontMenuText(const ConsoleFont& font) {
    return std::to_string(font.index) + ": " + std::to_string(font.width) + " x " + std::to_string(font.height);
}

int consoleFontFromMenuText(const std::string& menuText) {
    const auto colon = menuText.find(':');
    if (colon == std::string::npos)
        return -1;
    const auto number = text::trim(std::string_view(menuText).substr(0, colon));
    int value = -1;
    auto [end, ec] = std::from_chars(number.data(), number.data() + number.size(), value);
    return ec == std::errc() && end == number.data() + number.size() ? value : -1;
}

} // namespace station
