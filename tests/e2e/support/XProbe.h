#pragma once
// The test's own client of a virtual display: finds top-level windows by title, asks a window
// whether its program is alive (_NET_WM_PING, which a program answers only while its event loop
// runs), closes windows the way a window manager's close box does, and looks at what the screen
// shows. Kept apart from the tests because Xlib's macros clash with GoogleTest and Qt.
#include <QString>
#include <string>
#include <vector>

struct _XDisplay; // Xlib's Display, kept out of the tests' namespace

namespace station::test {

class XProbe {
public:
    using Window = unsigned long;
    explicit XProbe(const QString& display);
    ~XProbe();
    XProbe(const XProbe&) = delete;
    XProbe& operator=(const XProbe&) = delete;

    bool connected() const { return m_display != nullptr; }
    /// The first viewable window titled exactly `title` (with `mappedOnly` false, also one not on
    /// the screen yet), 0 when there is none.
    Window find(const std::string& title, bool mappedOnly = true) const;
    /// Every such window.
    std::vector<Window> findAll(const std::string& title, bool mappedOnly = true) const;
    struct Size {
        int width = 0, height = 0;
    };
    /// The window's size on the screen; zero when it is gone.
    Size size(Window window) const;
    /// Sends a ping carrying `serial`; the answer comes back through pongs().
    void ping(Window window, long serial);
    /// Serials of the pings answered since the last call.
    std::vector<long> pongs();
    /// Asks the window to close (WM_DELETE_WINDOW).
    void close(Window window);
    /// Presses and releases the first mouse button at (x, y) inside the window.
    void click(Window window, int x, int y);
    /// True when the screen shows a pixel of `rgb` (0xRRGGBB) anywhere.
    bool showsColour(unsigned long rgb) const;

private:
    ::_XDisplay* m_display = nullptr;
    Window m_root = 0;
    unsigned long m_protocols = 0, m_ping = 0, m_delete = 0, m_name = 0, m_utf8 = 0;
};

} // namespace station::test
