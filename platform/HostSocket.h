#pragma once
#include <cstdint>
#include <functional>
#include <string>

namespace station {

/// The TCP line to the store host. The station dials out; events arrive on the UI thread.
class HostSocket {
public:
    struct Events {
        std::function<void()> connected;                       ///< the dial succeeded
        std::function<void()> closed;                          ///< the host closed the line
        std::function<void(const std::string& data)> received; ///< one read of waiting bytes
        std::function<void(const std::string& description)> error;
    };
    virtual ~HostSocket() = default;
    virtual void setEvents(Events events) = 0;
    /// Starts an asynchronous dial; the outcome arrives as `connected` or `error`.
    virtual void connectTo(const std::string& host, std::uint16_t port) = 0;
    virtual void close() = 0;
    virtual bool isConnected() const = 0;
    /// Sends the bytes as they stand; no terminator is added.
    virtual void send(const std::string& data) = 0;
    virtual std::string remoteHost() const = 0;
};

} // namespace station
