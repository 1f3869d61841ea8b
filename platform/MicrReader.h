#pragma once
#include <functional>
#include <string>

namespace station {

/// The serial card and check reader.
class MicrReader {
public:
    virtual ~MicrReader() = default;
    virtual void setSetting(const std::string& name, const std::string& value) = 0;
    virtual bool open() = 0;
    virtual void command(const std::string& text) = 0;
    virtual void start(const std::string& argument) = 0;
    /// Called on the UI thread when a card or check has been read.
    virtual void onReadComplete(std::function<void()> handler) = 0;
    virtual std::string track(int number) = 0;
    virtual std::string micrLine() = 0;
    /// Saves the check image; returns the reader's status (0 = saved).
    virtual int saveImage(const std::string& path) = 0;
    virtual void close() = 0;
};

} // namespace station
