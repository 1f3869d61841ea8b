// Submits one file as raw jobs through the spooler adapter and prints the time per job, for
// bench/spooler_vs_lp.sh:  spooler_probe QUEUE FILE [JOBS]
#include "platform/Adapters.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: spooler_probe QUEUE FILE [JOBS]\n");
        return 2;
    }
    std::ifstream in(argv[2], std::ios::binary | std::ios::ate);
    std::string data(static_cast<std::size_t>(in.tellg()), '\0');
    in.seekg(0);
    in.read(data.data(), static_cast<std::streamsize>(data.size()));
    const int jobs = argc > 3 ? std::atoi(argv[3]) : 1;
    auto spooler = station::makeSpooler();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < jobs; ++i)
        if (spooler->printRaw(argv[1], "AAAAAA", data) != station::Spooler::Result::Done) {
            std::fprintf(stderr, "job %d failed\n", i);
            return 1;
        }
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    std::printf("%.3f ms per job\n", took.count() / jobs);
    return 0;
}
