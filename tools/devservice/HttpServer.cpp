#include "tools/devservice/HttpServer.h"

#include "tools/devservice/FileAccess.h"
#include "tools/devservice/HttplibIncludes.h"
#include "tools/devservice/Releases.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <memory>
#include <thread>

namespace devservice {

namespace {

// Large enough for any real request, small enough that a runaway client is refused (413), not
// held in memory.
constexpr std::size_t maxBodyBytes = 16 * 1024 * 1024;

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

/// Sends the file byte for byte; false (with 403 or 404 set) when there is none to send.
bool sendFile(httplib::Response& res, const std::optional<std::filesystem::path>& path) {
    if (!path) {
        res.status = 403;
        res.set_content("refused", "text/plain");
        return false;
    }
    const auto bytes = readWholeFile(*path);
    if (!bytes) {
        res.status = 404;
        res.set_content("not found", "text/plain");
        return false;
    }
    res.set_content(*bytes, "application/octet-stream");
    return true;
}

} // namespace

void HttpServer::streamFile(const httplib::Request& req, httplib::Response& res,
                            const std::optional<std::filesystem::path>& path) {
    std::error_code ec;
    if (!path || !std::filesystem::is_regular_file(*path, ec)) {
        res.status = path ? 404 : 403;
        res.set_content(path ? "not found" : "refused", "text/plain");
        return;
    }
    const auto size = std::filesystem::file_size(*path, ec);
    const auto tag = entityTag(*path);
    res.set_header("ETag", tag);
    res.set_header("Accept-Ranges", "bytes");
    // The server cuts a single range out of the body itself. A range guarded by a validator that
    // no longer matches, or one past the end, must not be cut: the request is ours to change
    // (the library hands a reference to its own object).
    auto& ranges = const_cast<httplib::Request&>(req).ranges;
    const auto ifRange = req.get_header_value("If-Range");
    if (ranges.size() != 1 || (!ifRange.empty() && ifRange != tag)) {
        ranges.clear();
    } else if (ranges[0].first >= static_cast<long long>(size)) {
        ranges.clear();
        res.status = 416;
        res.set_header("Content-Range", "bytes */" + std::to_string(size));
        return;
    }
    const auto cut = takeDownloadCut(m_filesRoot);
    auto file = std::make_shared<std::ifstream>(*path, std::ios::binary);
    auto sent = std::make_shared<std::uint64_t>(0);
    res.set_content_provider(size, "application/octet-stream",
                             [file, sent, cut](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                                 if (cut && *sent >= *cut)
                                     return false; // the connection closes in the middle of the body
                                 std::size_t piece = std::min<std::size_t>(length, 256 * 1024);
                                 if (cut)
                                     piece = static_cast<std::size_t>(std::min<std::uint64_t>(piece, *cut - *sent));
                                 std::string buffer(piece, '\0');
                                 file->clear();
                                 file->seekg(static_cast<std::streamoff>(offset));
                                 file->read(buffer.data(), static_cast<std::streamsize>(piece));
                                 if (file->gcount() <= 0)
                                     return false;
                                 *sent += static_cast<std::uint64_t>(file->gcount());
                                 return sink.write(buffer.data(), static_cast<std::size_t>(file->gcount()));
                             });
}

HttpServer::HttpServer(Database& db, std::filesystem::path filesRoot)
    : m_db(db), m_handlers(db), m_filesRoot(std::move(filesRoot)), m_server(std::make_unique<httplib::Server>()) {
    setUpRoutes();
}

HttpServer::~HttpServer() {
    stop();
}

void HttpServer::setUpRoutes() {
    auto& server = *m_server;
    server.set_payload_max_length(maxBodyBytes);

    server.Post(endpointPath, [this](const httplib::Request& req, httplib::Response& res) {
        // The body is key + raw value, not a form: read req.body, never the parsed params.
        try {
            res.set_content(m_handlers.reply(std::string_view(req.body)), "text/plain");
        } catch (const std::exception& e) {
            std::cerr << "devservice: request failed: " << e.what() << '\n';
            res.status = 500;
            res.set_content("", "text/plain");
        }
    });

    server.Get(R"(/Reports/(.*))", [this](const httplib::Request& req, httplib::Response& res) {
        if (!basicAuthMatches(req.get_header_value("Authorization"), reportsUser, reportsPassword)) {
            res.status = 401;
            res.set_header("WWW-Authenticate", "Basic realm=\"Reports\"");
            res.set_content("authorization required", "text/plain");
            return;
        }
        sendFile(res, resolveInside(m_filesRoot / "Reports", req.matches[1].str()));
    });

    server.Get(R"(/rdp/(.*))", [this](const httplib::Request& req, httplib::Response& res) {
        const std::string name = req.matches[1].str();
        // The description file names the read-me by full address; "{server}" lets a file written
        // before the port was known point back at this service.
        if (name == "rdpupdate.ini") {
            if (sendFile(res, resolveInside(m_filesRoot / "rdp", name))) {
                std::string text = res.body;
                replaceAll(text, "{server}", "http://" + req.get_header_value("Host"));
                res.set_content(text, "text/plain");
            }
            return;
        }
        streamFile(req, res, resolveInside(m_filesRoot / "rdp", name));
    });

    // Logged after routing but before the reply is written, so a client that has its answer can
    // already read the log (the logger hook runs only after the reply has gone out).
    server.set_post_routing_handler([this](const httplib::Request& req, httplib::Response& res) {
        LoggedRequest entry;
        entry.method = req.method;
        entry.path = req.target; // as sent, before percent-decoding
        entry.status = res.status;
        entry.contentType = req.get_header_value("Content-Type");
        if (req.method == "POST" && req.path == endpointPath) {
            auto body = splitRequestBody(req.body);
            entry.key = std::move(body.key);
            entry.value = std::move(body.value);
            entry.reply = res.body;
        }
        try {
            m_db.logRequest(entry);
        } catch (const std::exception& e) {
            std::cerr << "devservice: cannot log request: " << e.what() << '\n';
        }
    });
}

int HttpServer::bind(const std::string& host, int port) {
    if (port == 0)
        return m_server->bind_to_any_port(host);
    return m_server->bind_to_port(host, port) ? port : -1;
}

bool HttpServer::run() {
    return m_server->listen_after_bind();
}

bool HttpServer::isRunning() const {
    return m_server->is_running();
}

bool HttpServer::waitUntilRunning(std::chrono::milliseconds timeout) const {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!isRunning()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

void HttpServer::stop() {
    m_server->stop();
}

} // namespace devservice
