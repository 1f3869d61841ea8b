#pragma once
#include <string>
#include <vector>

namespace station {

/// The system printer object for formatted text documents. Calls that reach the spooler are
/// bounded in time and throw SpoolerUnavailable (platform/Spooler.h) when it cannot be asked.
class TextPrinter {
public:
    enum class Orientation { Portrait = 1, Landscape = 2 };
    virtual ~TextPrinter() = default;
    /// Installed printer names in the system's order.
    virtual std::vector<std::string> printers() = 0;
    /// Makes `name` the current printer; an unknown name leaves the current one.
    virtual void select(const std::string& name) = 0;
    /// The printer the next document goes to: the one selected, else the system's default;
    /// empty when there is neither.
    virtual std::string current() = 0;
    virtual void setFont(const std::string& family, float size) = 0;
    virtual void setOrientation(Orientation orientation) = 0;
    /// One print statement: writes `text` and ends its line; a form feed inside ends the page.
    virtual void print(const std::string& text) = 0;
    /// Ends the document and hands the job to the spooler.
    virtual void endDocument() = 0;
};

} // namespace station
