#include "tests/support/FakePorts.h"

#include <fstream>

namespace station::test {

HttpClient::Response FakeHttp::post(const std::string& url, const std::string& contentType, const std::string& body) {
    calls.push_back({"POST", url, contentType, body});
    if (handler)
        return handler(calls.back());
    if (!replies.empty()) {
        auto r = std::move(replies.front());
        replies.pop_front();
        return r;
    }
    return ok({});
}

HttpClient::Response FakeHttp::get(const std::string& url, const BasicAuth*, const Progress&) {
    calls.push_back({"GET", url, {}, {}});
    return handler ? handler(calls.back()) : ok({});
}

std::vector<std::string> FakeHttp::bodies() const {
    std::vector<std::string> out;
    for (const auto& c : calls)
        out.push_back(c.body);
    return out;
}

std::unique_ptr<SharedLibraries::Library> FakeLibraries::load(const std::string& path) {
    const auto it = libraries.find(path);
    if (it == libraries.end())
        throw LoadError(path + ": no such file");
    struct Loaded final : Library {
        std::map<std::string, Function> functions;
        Function function(const char* name) const override {
            const auto f = functions.find(name);
            return f == functions.end() ? nullptr : f->second;
        }
    };
    auto loaded = std::make_unique<Loaded>();
    loaded->functions = it->second;
    return loaded;
}

int FakeMicrReader::saveImage(const std::string& path) {
    calls.push_back("save " + path);
    if (!image)
        return 1;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << *image;
    return file ? 0 : 2;
}

std::string storeListReply(std::size_t count, const std::string& station) {
    std::string out;
    for (std::size_t k = 0; k < count; ++k) {
        const auto n = std::to_string(k);
        for (const std::string& field : std::initializer_list<std::string>{
                 station, "12345" + std::string(5 - std::min<std::size_t>(5, n.size()), '0') + n, "T" + n, "user" + n,
                 "pw" + n, "10.0.0." + n, "23", "DOM", "x", "STORE" + n, "Display " + n})
            out += field + "|";
    }
    return out;
}

} // namespace station::test
