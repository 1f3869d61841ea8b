#pragma once
#include <functional>
#include <string>

namespace station {

/// The serial card and check reader. Its calls never wait on the reader: commands are queued to
/// the port, and what the reader sends arrives through the two handlers.
class MicrReader {
public:
    virtual ~MicrReader() = default;
    /// "CommPort" takes the port's number ("7" for COM7), "Settings" the line settings
    /// ("115200,N,8,1"); they count from the next open(). Throws std::invalid_argument for line
    /// settings it cannot read.
    virtual void setSetting(const std::string& name, const std::string& value) = 0;
    /// Opens the port (closing it first when open); false when it cannot be opened, with the
    /// reason in error().
    virtual bool open() = 0;
    /// The port name ("COM7") and why the last open or the port failed, in words for the user.
    virtual std::string error() const = 0;
    /// Sends one command line ("SWA 00100010").
    virtual void command(const std::string& text) = 0;
    /// Selects the message format and arms the reader ("0002": the raw MICR line).
    virtual void start(const std::string& argument) = 0;
    /// Called on the UI thread when a card or check has been read.
    virtual void onReadComplete(std::function<void()> handler) = 0;
    /// Called on the UI thread when the open port fails (the device went away), with error().
    virtual void onFault(std::function<void(const std::string& reason)> handler) = 0;
    /// Track 1, 2 or 3 of the last read; empty for a check or a track not read.
    virtual std::string track(int number) = 0;
    /// The MICR line of the last read; empty for a card.
    virtual std::string micrLine() = 0;
    /// Writes the last check's image, as the reader sent it (TIFF), to `path`. Returns 0 when
    /// saved, 1 when the reader sent no image, 2 when the file could not be written.
    virtual int saveImage(const std::string& path) = 0;
    virtual void close() = 0;
};

} // namespace station
