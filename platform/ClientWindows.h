#pragma once
#include <cstdint>
#include <string>

namespace station {

/// Top-level windows of the external telnet client, found by their exact title.
class ClientWindows {
public:
    using Handle = std::uintptr_t; ///< 0 means no window
    virtual ~ClientWindows() = default;
    /// The top-level window whose title equals `title` exactly, or 0.
    virtual Handle findByTitle(const std::string& title) = 0;
    /// Shows the window in its current size.
    virtual void show(Handle window) = 0;
    /// Raises the window and gives it the focus.
    virtual void bringForward(Handle window) = 0;
    /// Sets the console font of the process that owns the window; silently does nothing where
    /// the platform has no console fonts.
    virtual void setConsoleFont(Handle window, int fontIndex) = 0;
};

} // namespace station
