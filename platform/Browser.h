#pragma once
#include <string>

namespace station {

/// Opens an address in the user's default browser.
class Browser {
public:
    virtual ~Browser() = default;
    virtual bool open(const std::string& url) = 0;
};

} // namespace station
