// One copy per user: an advisory lock on a file named after the program and the user id, and on
// Linux beside it a socket bound to a name derived from that file's path in the abstract socket
// namespace. The kernel drops both when the descriptors close, so a crashed copy never leaves a
// stale guard. The socket needs no file at all, so the guard still holds when the lock path is
// unusable (a folder, a dangling link, a read-only place): two copies never run side by side.
#include "core/Environment.h"
#include "platform/Adapters.h"
#include "platform/SingleInstance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>

namespace station {

namespace {

std::filesystem::path lockFolder() {
    // The runtime folder is private to the user's session; the temp folder is shared, hence the
    // user id in the file name.
    if (auto runtime = environmentVariable("XDG_RUNTIME_DIR"); runtime && !runtime->empty())
        return *runtime;
    std::error_code error;
    auto temp = std::filesystem::temp_directory_path(error);
    return error ? std::filesystem::path("/tmp") : temp;
}

std::string lockFileName(const std::string& name) {
    std::string safe;
    for (char c : name) {
        const bool plain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' ||
                           c == '-' || c == '_';
        safe += plain ? c : '_';
    }
    return safe + "-" + std::to_string(getuid()) + ".lock";
}

/// A descriptor that closes itself.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor& operator=(Descriptor&& other) noexcept {
        reset();
        m_fd = other.m_fd;
        other.m_fd = -1;
        return *this;
    }
    int get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    void reset() {
        if (m_fd >= 0)
            close(m_fd);
        m_fd = -1;
    }

private:
    int m_fd = -1;
};

enum class Claim { Held, Taken, Unavailable };

/// The lock on the file itself.
Claim lockFile(const std::filesystem::path& path, Descriptor& out) {
    // O_CLOEXEC: a program this copy starts must not keep the guard after the copy ends.
    // O_NOFOLLOW: a link planted in a shared temp folder is not followed.
    Descriptor fd(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!fd)
        return Claim::Unavailable;
    if (flock(fd.get(), LOCK_EX | LOCK_NB) != 0)
        return errno == EWOULDBLOCK ? Claim::Taken : Claim::Unavailable;
    out = std::move(fd);
    return Claim::Held;
}

/// A hash that every build of the program computes alike, so that copies of two builds meet.
std::uint64_t fnv1a(const std::string& text) {
    std::uint64_t hash = 14695981039346656037ull;
    for (const char c : text) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 1099511628211ull;
    }
    return hash;
}

/// A name in the abstract socket namespace, bound for as long as the descriptor lives.
Claim bindName(const std::filesystem::path& path, Descriptor& out) {
#ifdef __linux__
    Descriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd)
        return Claim::Unavailable;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // A leading NUL puts the name in the abstract namespace: no file, nothing left behind.
    // Derived from the lock path, so it is per user and per program exactly as the file is.
    const std::string name = "vorne-guard-" + std::to_string(fnv1a(path.string())) + "-" + std::to_string(getuid());
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    if (bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), length) != 0)
        return errno == EADDRINUSE ? Claim::Taken : Claim::Unavailable;
    out = std::move(fd);
    return Claim::Held;
#else
    (void)path;
    (void)out;
    return Claim::Unavailable;
#endif
}

class PosixSingleInstance final : public SingleInstance {
public:
    explicit PosixSingleInstance(const std::string& name) : m_path(lockFolder() / lockFileName(name)) {}

    PosixSingleInstance(const PosixSingleInstance&) = delete;
    PosixSingleInstance& operator=(const PosixSingleInstance&) = delete;

    // The file stays: removing it would let a copy that opened it a moment earlier lock an
    // orphan while the next copy creates and locks a new one.
    ~PosixSingleInstance() override = default;

    bool acquire() override {
        if (m_file || m_name)
            return true;
        Descriptor name, file;
        const auto named = bindName(m_path, name);
        if (named == Claim::Taken)
            return false;
        const auto locked = lockFile(m_path, file);
        if (locked == Claim::Taken)
            return false;
        // With neither guard there is no telling whether another copy runs: refuse rather than
        // risk two copies on one till.
        if (named == Claim::Unavailable && locked == Claim::Unavailable)
            return false;
        m_name = std::move(name);
        m_file = std::move(file);
        return true;
    }

private:
    std::filesystem::path m_path;
    Descriptor m_name;
    Descriptor m_file;
};

} // namespace

std::unique_ptr<SingleInstance> makeSingleInstance(const std::string& name) {
    return std::make_unique<PosixSingleInstance>(name);
}

} // namespace station
