// Reading store list replies: a full list of 300 stores, and the largest reply the transport lets
// through made of bare "|", which must cost no more than a walk over its bytes.
#include "service/Replies.h"

#include <benchmark/benchmark.h>

namespace {

std::string reply300() {
    std::string out;
    for (int k = 0; k < 300; ++k) {
        const auto n = std::to_string(k);
        for (const std::string& f : {std::string("001122334455"), "12345" + std::string(5 - n.size(), '0') + n, "T" + n,
                                     "user" + n, "secret" + n, "10.20.30." + n, std::string("23"), std::string("DOM"),
                                     std::string("x"), "STORE " + n, "Display user " + n})
            out += f + "|";
    }
    return out;
}

void BM_ParseStoreList300(benchmark::State& state) {
    const auto text = reply300();
    for (auto _ : state) {
        auto reply = station::readStoreList(text);
        benchmark::DoNotOptimize(reply);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_ParseStoreList300);

void BM_ReadStoreListOfBars4MB(benchmark::State& state) {
    const std::string text(4 << 20, '|');
    for (auto _ : state) {
        auto reply = station::readStoreList(text);
        benchmark::DoNotOptimize(reply);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_ReadStoreListOfBars4MB)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
