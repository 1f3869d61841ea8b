// Starts the telnet client without a shell: the command line is split as the Windows C runtime
// would split it, and the program is spawned directly.
#include "platform/Adapters.h"
#include "platform/CommandLine.h"

#include <cerrno>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace station {
namespace {

class PosixProcessLauncher : public ProcessLauncher {
public:
    bool start(const std::string& commandLine, Show) override {
        auto args = splitCommandLine(commandLine);
        if (args.empty() || ::access(args.front().c_str(), X_OK) != 0)
            return false;
        std::vector<char*> argv;
        argv.reserve(args.size() + 1);
        for (auto& a : args)
            argv.push_back(a.data());
        argv.push_back(nullptr);
        pid_t pid = 0;
        if (::posix_spawn(&pid, argv.front(), nullptr, nullptr, argv.data(), environ) != 0)
            return false;
        // The station never waits for its client; a small waiter per child collects its exit
        // status so no zombie is left behind, without touching the window thread or the
        // process-wide SIGCHLD disposition that Qt relies on.
        std::thread([pid] {
            int status = 0;
            while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
            }
        }).detach();
        return true;
    }
};

} // namespace

std::unique_ptr<ProcessLauncher> makeProcessLauncher() {
    return std::make_unique<PosixProcessLauncher>();
}

} // namespace station
