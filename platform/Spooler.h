#pragma once
#include <string>
#include <vector>

namespace station {

/// The system print spooler for raw jobs: the bytes reach the device unchanged.
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
