#pragma once
#include <stdexcept>
#include <string>
#include <vector>

namespace station {

/// The print spooler could not be asked: it is not running, or it did not answer in time. The
/// text says which, in words for the user.
struct SpoolerUnavailable : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The system print spooler for raw jobs: the bytes reach the device unchanged. Every call is
/// bounded in time and throws SpoolerUnavailable when the spooler cannot be asked.
class Spooler {
public:
    enum class Result { Done, UnknownPrinter, Failed };
    virtual ~Spooler() = default;
    /// Installed printer names in the system's order.
    virtual std::vector<std::string> printers() = 0;
    /// Submits one raw job of `data` to `printer` under the document name `documentName`.
    virtual Result printRaw(const std::string& printer, const std::string& documentName, const std::string& data) = 0;
};

} // namespace station
