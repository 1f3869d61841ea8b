#pragma once
#include <memory>
#include <stdexcept>
#include <string>

namespace station {

/// Code loaded at run time from a shared library (.so, .dll).
class SharedLibraries {
public:
    /// Any exported function; the caller casts it to the type it knows the export has.
    using Function = void (*)();
    class Library {
    public:
        virtual ~Library() = default;
        /// The exported function `name`, or null when the library has none.
        virtual Function function(const char* name) const = 0;
    };
    struct LoadError : std::runtime_error {
        using std::runtime_error::runtime_error;
    };
    virtual ~SharedLibraries() = default;
    /// Loads the library at `path`; throws LoadError with the system's reason when it cannot.
    virtual std::unique_ptr<Library> load(const std::string& path) = 0;
};

} // namespace station
