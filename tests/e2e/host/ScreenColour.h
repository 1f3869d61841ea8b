#pragma once
// A look at what a virtual display shows, for tests that wait on what a person would see. Kept
// apart from the tests because Xlib's macros clash with GoogleTest and Qt.
#include <QString>

namespace station::test {

/// True when the screen of `display` shows a pixel of `rgb` (0xRRGGBB) anywhere.
bool showsColour(const QString& display, unsigned long rgb);

} // namespace station::test
