#include "tests/support/FakePorts.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

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

std::shared_ptr<SignatureVerifier::Digest> FakeSignatures::blake2b512() {
    class Kept : public Digest {
    public:
        void write(const char* data, std::size_t size) override { bytes.append(data, size); }
        std::string finish() override { return bytes; }
        std::string bytes;
    };
    return std::make_shared<Kept>();
}

FileDownloader::Result FakeDownloader::download(const Request& request, const Progress& progress) {
    requests.push_back(request);
    Result result;
    if (refuse) {
        result.error = "connection refused";
        result.size = request.resumeFrom;
        return result;
    }
    result.validator = validator;
    if (request.resumeFrom >= file.size() && request.resumeFrom > 0 && request.ifRange == validator) {
        result.status = 416; // nothing left to send from there
        result.error = "HTTP 416";
        result.size = request.resumeFrom;
        return result;
    }
    const bool rest = request.resumeFrom > 0 && request.ifRange == validator && request.resumeFrom <= file.size();
    const std::uint64_t from = rest ? request.resumeFrom : 0;
    const std::uint64_t to = breakAt ? std::min<std::uint64_t>(*breakAt, file.size()) : file.size();
    std::fstream out(request.path,
                     std::ios::binary | std::ios::in | std::ios::out | (rest ? std::ios::ate : std::ios::trunc));
    if (!out.is_open())
        out.open(request.path, std::ios::binary | std::ios::out | std::ios::trunc);
    if (!out.is_open()) { // as the real one: the answer is refused when its file cannot be written
        result.error = "cannot write " + request.path;
        return result;
    }
    if (rest)
        out.seekp(static_cast<std::streamoff>(from));
    if (request.sink && rest) { // the kept bytes as the disk holds them
        std::ifstream kept(request.path, std::ios::binary);
        std::string bytes(from, '\0');
        kept.read(bytes.data(), static_cast<std::streamsize>(from));
        request.sink->write(bytes.data(), static_cast<std::size_t>(kept.gcount()));
    }
    if (request.sink && to > from)
        request.sink->write(file.data() + from, to - from);
    if (to > from)
        out.write(file.data() + from, static_cast<std::streamsize>(to - from));
    out.close();
    result.status = rest ? 206 : 200;
    result.resumed = rest;
    result.size = std::max(from, to);
    if (progress)
        progress(result.size, file.size());
    result.ok = result.size == file.size();
    if (!result.ok)
        result.error = "transfer closed with outstanding read data remaining";
    return result;
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

namespace station::test {

namespace {

class FakeFtpClient final : public FtpClient {
public:
    explicit FakeFtpClient(FakeFtpSessions& server) : m_server(server) {}

    bool login(const std::string& host, const std::string& user, const std::string& password) override {
        if (!begin("login " + host + " " + user + " " + password))
            return false;
        ++m_server.logins;
        m_connected = true;
        m_folder.clear();
        return true;
    }
    bool isConnected() const override { return m_connected; }
    void disconnect() override {
        m_server.calls.push_back("disconnect");
        m_connected = false;
    }
    bool changeFolder(const std::string& remoteFolder) override {
        if (!begin("cd " + remoteFolder))
            return false;
        m_folder = remoteFolder;
        m_server.folders[m_folder];
        return true;
    }
    std::vector<std::string> list(const std::string& argument) override {
        if (!begin("list " + argument))
            return {};
        std::vector<std::string> names;
        for (const auto& entry : m_server.folders[m_folder])
            names.push_back(entry.first);
        return names;
    }
    std::vector<std::string> nameList() override {
        if (!begin("nlst"))
            return {};
        std::vector<std::string> names;
        for (const auto& entry : m_server.folders[m_folder])
            names.push_back(entry.first);
        return names;
    }
    bool store(const std::string& localPath, const std::string& remoteName, const Progress& progress) override {
        if (!begin("store " + localPath + " as " + remoteName))
            return false;
        for (const auto step : m_server.progressSteps)
            progress(true, step, m_server.progressSteps.back());
        if (progress)
            progress(false, 0, 0);
        m_server.folders[m_folder][remoteName] = localPath;
        return true;
    }
    bool remove(const std::string& remoteName) override {
        if (!begin("delete " + remoteName))
            return false;
        return m_server.folders[m_folder].erase(remoteName) == 1 || fail("550 " + remoteName + ": not found");
    }
    std::string lastError() const override { return m_error; }

private:
    bool begin(const std::string& call) {
        m_server.calls.push_back(call);
        m_error.clear();
        if (m_server.refused.count(call) != 0)
            return fail("550 " + call + ": No such file or directory.");
        if (!m_server.failNext || call.rfind(m_server.failWhen, 0) != 0)
            return true;
        m_server.failWhen.clear();
        const auto why = *std::exchange(m_server.failNext, std::nullopt);
        if (m_server.dropLine)
            m_connected = false;
        return fail(why);
    }
    bool fail(const std::string& why) {
        m_error = why;
        return false;
    }

    FakeFtpSessions& m_server;
    bool m_connected = false;
    std::string m_folder;
    std::string m_error;
};

} // namespace

std::unique_ptr<FtpClient> FakeFtpSessions::open() {
    return std::make_unique<FakeFtpClient>(*this);
}

} // namespace station::test
