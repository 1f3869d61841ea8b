// Shared libraries through dlopen: each library stays loaded while its handle lives.
#include "platform/Adapters.h"

#include <dlfcn.h>

namespace station {
namespace {

class DlopenLibrary final : public SharedLibraries::Library {
public:
    explicit DlopenLibrary(void* handle) : m_handle(handle) {}
    ~DlopenLibrary() override { dlclose(m_handle); }
    DlopenLibrary(const DlopenLibrary&) = delete;
    DlopenLibrary& operator=(const DlopenLibrary&) = delete;

    SharedLibraries::Function function(const char* name) const override {
        // POSIX guarantees that a data pointer from dlsym converts to the function it names.
        return reinterpret_cast<SharedLibraries::Function>(dlsym(m_handle, name));
    }

private:
    void* m_handle;
};

class DlopenLibraries final : public SharedLibraries {
public:
    std::unique_ptr<Library> load(const std::string& path) override {
        // RTLD_LOCAL: the codec's own symbols never stand in for another library's.
        void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!handle) {
            const char* reason = dlerror();
            throw LoadError(reason ? reason : "unknown reason");
        }
        return std::make_unique<DlopenLibrary>(handle);
    }
};

} // namespace

std::unique_ptr<SharedLibraries> makeSharedLibraries() {
    return std::make_unique<DlopenLibraries>();
}

} // namespace station
