#include "tools/devservice/HttpServer.h"

#include "tools/devservice/FileAccess.h"
#include "tools/devservice/HttplibIncludes.h"

#include <iostream>
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
        if (sendFile(res, resolveInside(m_filesRoot / "rdp", name)) && name == "rdpupdate.ini") {
            std::string text = res.body;
            replaceAll(text, "{server}", "http://" + req.get_header_value("Host"));
            res.set_content(text, "text/plain");
        }
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
