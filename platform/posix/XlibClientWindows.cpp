// Finds the telnet client's top-level window on X11 by its exact title.
#include "platform/Adapters.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <chrono>
#include <cstring>
#include <unordered_map>

namespace station {
namespace {

// Windows come and go during a walk; an error about one that vanished is no failure of ours.
int ignoreErrors(Display*, XErrorEvent*) {
    return 0;
}

class ErrorsIgnored {
public:
    ErrorsIgnored() : m_previous(XSetErrorHandler(ignoreErrors)) {}
    ~ErrorsIgnored() { XSetErrorHandler(m_previous); }
    ErrorsIgnored(const ErrorsIgnored&) = delete;
    ErrorsIgnored& operator=(const ErrorsIgnored&) = delete;

private:
    int (*m_previous)(Display*, XErrorEvent*);
};

class XlibClientWindows : public ClientWindows {
public:
    ~XlibClientWindows() override {
        if (m_display)
            XCloseDisplay(m_display);
    }

    Handle findByTitle(const std::string& title) override {
        if (!display())
            return 0;
        // One walk answers all the searches of a supervision tick (one per store row).
        const auto now = std::chrono::steady_clock::now();
        if (!m_snapshotValid || now - m_snapshotTime > snapshotLifetime) {
            takeSnapshot();
            m_snapshotTime = now;
            m_snapshotValid = true;
        }
        const auto it = m_titles.find(title);
        return it == m_titles.end() ? 0 : it->second;
    }

    void show(Handle window) override {
        if (!window || !display())
            return;
        ErrorsIgnored guard;
        XMapWindow(m_display, static_cast<Window>(window));
        XSync(m_display, False);
    }

    void bringForward(Handle window) override {
        if (!window || !display())
            return;
        ErrorsIgnored guard;
        const auto w = static_cast<Window>(window);
        XRaiseWindow(m_display, w);
        XEvent event{};
        event.xclient.type = ClientMessage;
        event.xclient.window = w;
        event.xclient.message_type = XInternAtom(m_display, "_NET_ACTIVE_WINDOW", False);
        event.xclient.format = 32;
        event.xclient.data.l[0] = 2; // from a pager-like tool: the window manager obeys at once
        event.xclient.data.l[1] = CurrentTime;
        XSendEvent(m_display, DefaultRootWindow(m_display), False, SubstructureRedirectMask | SubstructureNotifyMask,
                   &event);
        XSetInputFocus(m_display, w, RevertToParent, CurrentTime);
        XSync(m_display, False);
    }

    // X has no console fonts; the client keeps its own.
    void setConsoleFont(Handle, int) override {}

private:
    static constexpr auto snapshotLifetime = std::chrono::milliseconds(100);

    Display* display() {
        if (!m_display) {
            m_display = XOpenDisplay(nullptr);
            if (m_display) {
                m_netWmName = XInternAtom(m_display, "_NET_WM_NAME", False);
                m_utf8 = XInternAtom(m_display, "UTF8_STRING", False);
            }
        }
        return m_display;
    }

    std::string titleOf(Window w) {
        Atom type = None;
        int format = 0;
        unsigned long count = 0, after = 0;
        unsigned char* data = nullptr;
        std::string title;
        if (XGetWindowProperty(m_display, w, m_netWmName, 0, 1024, False, m_utf8, &type, &format, &count, &after,
                               &data) == Success &&
            data && type == m_utf8 && format == 8) {
            title.assign(reinterpret_cast<const char*>(data), count);
            XFree(data);
            return title;
        }
        if (data)
            XFree(data);
        XTextProperty name{};
        if (XGetWMName(m_display, w, &name) && name.value) {
            title.assign(reinterpret_cast<const char*>(name.value), name.nitems);
            XFree(name.value);
        }
        return title;
    }

    void walk(Window w) {
        if (auto title = titleOf(w); !title.empty())
            m_titles.emplace(std::move(title), static_cast<Handle>(w));
        Window root = 0, parent = 0;
        Window* children = nullptr;
        unsigned int count = 0;
        if (!XQueryTree(m_display, w, &root, &parent, &children, &count))
            return;
        for (unsigned int i = 0; i < count; ++i)
            walk(children[i]);
        if (children)
            XFree(children);
    }

    void takeSnapshot() {
        ErrorsIgnored guard;
        m_titles.clear();
        walk(DefaultRootWindow(m_display));
    }

    Display* m_display = nullptr;
    Atom m_netWmName = None;
    Atom m_utf8 = None;
    std::unordered_map<std::string, Handle> m_titles;
    std::chrono::steady_clock::time_point m_snapshotTime{};
    bool m_snapshotValid = false;
};

} // namespace

std::unique_ptr<ClientWindows> makeClientWindows() {
    return std::make_unique<XlibClientWindows>();
}

} // namespace station
