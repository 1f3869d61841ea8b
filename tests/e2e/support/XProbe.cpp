#include "tests/e2e/support/XProbe.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <functional>

namespace station::test {

namespace {

// Windows come and go during a walk; the errors that causes are expected.
int ignoreErrors(Display*, XErrorEvent*) {
    return 0;
}

} // namespace

XProbe::XProbe(const QString& display) : m_display(XOpenDisplay(display.toLocal8Bit().constData())) {
    if (!m_display)
        return;
    XSetErrorHandler(&ignoreErrors);
    m_root = DefaultRootWindow(m_display);
    // Answers to pings are sent to the root window for whoever listens to its structure (Qt
    // names the root's own structure; the window managers' convention its children's).
    XSelectInput(m_display, m_root, StructureNotifyMask | SubstructureNotifyMask);
    m_protocols = XInternAtom(m_display, "WM_PROTOCOLS", False);
    m_ping = XInternAtom(m_display, "_NET_WM_PING", False);
    m_delete = XInternAtom(m_display, "WM_DELETE_WINDOW", False);
    m_name = XInternAtom(m_display, "_NET_WM_NAME", False);
    m_utf8 = XInternAtom(m_display, "UTF8_STRING", False);
}

XProbe::~XProbe() {
    if (m_display)
        XCloseDisplay(m_display);
}

XProbe::Window XProbe::find(const std::string& title, bool mappedOnly) const {
    const auto all = findAll(title, mappedOnly);
    return all.empty() ? 0 : all.front();
}

std::vector<XProbe::Window> XProbe::findAll(const std::string& title, bool mappedOnly) const {
    if (!m_display)
        return {};
    const auto titleOf = [&](::Window w) {
        Atom type = 0;
        int format = 0;
        unsigned long count = 0, after = 0;
        unsigned char* data = nullptr;
        std::string out;
        if (XGetWindowProperty(m_display, w, m_name, 0, 1024, False, m_utf8, &type, &format, &count, &after, &data) ==
                Success &&
            data) {
            out.assign(reinterpret_cast<const char*>(data), count);
            XFree(data);
            return out;
        }
        char* name = nullptr;
        if (XFetchName(m_display, w, &name) && name) {
            out = name;
            XFree(name);
        }
        return out;
    };
    std::vector<Window> found;
    std::function<void(::Window)> walk = [&](::Window w) {
        XWindowAttributes attributes{};
        if (w != m_root && titleOf(w) == title && XGetWindowAttributes(m_display, w, &attributes) &&
            (attributes.map_state == IsViewable || !mappedOnly)) {
            found.push_back(w);
            return;
        }
        ::Window rootReturn = 0, parent = 0, *children = nullptr;
        unsigned int count = 0;
        if (!XQueryTree(m_display, w, &rootReturn, &parent, &children, &count))
            return;
        for (unsigned int i = 0; i < count; ++i)
            walk(children[i]);
        if (children)
            XFree(children);
    };
    walk(m_root);
    return found;
}

XProbe::Size XProbe::size(Window window) const {
    XWindowAttributes attributes{};
    if (!m_display || !XGetWindowAttributes(m_display, window, &attributes))
        return {};
    return {attributes.width, attributes.height};
}

void XProbe::ping(Window window, long serial) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = m_protocols;
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(m_ping);
    event.xclient.data.l[1] = serial;
    event.xclient.data.l[2] = static_cast<long>(window);
    XSendEvent(m_display, window, False, NoEventMask, &event);
    XFlush(m_display);
}

std::vector<long> XProbe::pongs() {
    std::vector<long> out;
    while (m_display && XPending(m_display) > 0) {
        XEvent event{};
        XNextEvent(m_display, &event);
        if (event.type == ClientMessage && static_cast<unsigned long>(event.xclient.data.l[0]) == m_ping)
            out.push_back(event.xclient.data.l[1]);
    }
    return out;
}

void XProbe::close(Window window) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = m_protocols;
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(m_delete);
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(m_display, window, False, NoEventMask, &event);
    XFlush(m_display);
}

void XProbe::click(Window window, int x, int y) {
    for (const int type : {ButtonPress, ButtonRelease}) {
        XEvent event{};
        auto& button = event.xbutton;
        button.type = type;
        button.display = m_display;
        button.window = window;
        button.root = m_root;
        button.x = x;
        button.y = y;
        button.x_root = x;
        button.y_root = y;
        button.button = Button1;
        button.state = type == ButtonPress ? 0 : Button1Mask; // the buttons held before the event
        button.same_screen = True;
        XSendEvent(m_display, window, True, type == ButtonPress ? ButtonPressMask : ButtonReleaseMask, &event);
    }
    XFlush(m_display);
}

bool XProbe::showsColour(unsigned long rgb) const {
    if (!m_display)
        return false;
    XWindowAttributes attributes{};
    XGetWindowAttributes(m_display, m_root, &attributes);
    bool found = false;
    // The root's image holds every window on it: an X server without a compositor draws them
    // all into one frame.
    if (XImage* image = XGetImage(m_display, m_root, 0, 0, static_cast<unsigned>(attributes.width),
                                  static_cast<unsigned>(attributes.height), AllPlanes, ZPixmap)) {
        for (int y = 0; y < attributes.height && !found; y += 2)
            for (int x = 0; x < attributes.width && !found; x += 2)
                found = XGetPixel(image, x, y) == rgb;
        XDestroyImage(image);
    }
    return found;
}

} // namespace station::test
