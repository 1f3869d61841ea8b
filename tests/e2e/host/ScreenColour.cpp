#include "tests/e2e/host/ScreenColour.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace station::test {

bool showsColour(const QString& displayName, unsigned long rgb) {
    Display* display = XOpenDisplay(displayName.toLocal8Bit().constData());
    if (!display)
        return false;
    const auto root = DefaultRootWindow(display);
    XWindowAttributes attributes{};
    XGetWindowAttributes(display, root, &attributes);
    bool found = false;
    // The root's image holds every window on it: an X server without a compositor draws them
    // all into one frame.
    if (XImage* image = XGetImage(display, root, 0, 0, static_cast<unsigned>(attributes.width),
                                  static_cast<unsigned>(attributes.height), AllPlanes, ZPixmap)) {
        for (int y = 0; y < attributes.height && !found; y += 2)
            for (int x = 0; x < attributes.width && !found; x += 2)
                found = XGetPixel(image, x, y) == rgb;
        XDestroyImage(image);
    }
    XCloseDisplay(display);
    return found;
}

} // namespace station::test
