// Uploads one file through the station's FTP adapter (behind its off-thread decorator, as the
// uploader uses it) and prints the time per upload, for bench/ftp_vs_curl.sh:
//   ftp_upload_probe HOST FILE REMOTE_FOLDER [RUNS]
#include "platform/Adapters.h"
#include "platform/OffThreadFtpClient.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: ftp_upload_probe HOST FILE REMOTE_FOLDER [RUNS]\n");
        return 2;
    }
    const int runs = argc > 4 ? std::atoi(argv[4]) : 1;
    station::BlockingWaiter waiter;
    station::OffThreadFtpSessions sessions(station::makeFtpSessions(), waiter,
                                           {station::limits::ftpCommand, station::limits::ftpTransferCap});
    auto ftp = sessions.open();
    if (!ftp->login(argv[1], "administrator", "lantern") || !ftp->changeFolder(argv[3])) {
        std::fprintf(stderr, "%s\n", ftp->lastError().c_str());
        return 1;
    }
    std::uint64_t reported = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < runs; ++i)
        if (!ftp->store(argv[2], "probe.bin", [&](bool, std::uint64_t done, std::uint64_t) { reported = done; })) {
            std::fprintf(stderr, "upload %d failed: %s\n", i, ftp->lastError().c_str());
            return 1;
        }
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    std::printf("%.3f ms per upload (%llu bytes reported)\n", took.count() / runs,
                static_cast<unsigned long long>(reported));
    return 0;
}
