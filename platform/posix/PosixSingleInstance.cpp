// One copy per user: an advisory lock on a file named after the program and the user id. The
// kernel drops the lock when the descriptor closes, so a crashed copy never leaves a stale guard.
#include "core/Environment.h"
#include "platform/Adapters.h"
#include "platform/SingleInstance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
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

class PosixSingleInstance final : public SingleInstance {
public:
    explicit PosixSingleInstance(const std::string& name) : m_path(lockFolder() / lockFileName(name)) {}

    PosixSingleInstance(const PosixSingleInstance&) = delete;
    PosixSingleInstance& operator=(const PosixSingleInstance&) = delete;

    // The file stays: removing it would let a copy that opened it a moment earlier lock an
    // orphan while the next copy creates and locks a new one.
    ~PosixSingleInstance() override {
        if (m_fd >= 0)
            close(m_fd);
    }

    bool acquire() override {
        if (m_fd >= 0)
            return true;
        // O_CLOEXEC: a program this copy starts must not keep the guard after the copy ends.
        // O_NOFOLLOW: a link planted in a shared temp folder is not followed.
        const int fd = open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0)
            return true; // no place for a guard must not keep the user out of the program
        if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
            const bool heldElsewhere = errno == EWOULDBLOCK;
            close(fd);
            if (heldElsewhere)
                return false;
            return true; // a file system without locks: run unguarded rather than never
        }
        m_fd = fd;
        return true;
    }

private:
    std::filesystem::path m_path;
    int m_fd = -1;
};

} // namespace

std::unique_ptr<SingleInstance> makeSingleInstance(const std::string& name) {
    return std::make_unique<PosixSingleInstance>(name);
}

} // namespace station
