#pragma once
// The HTTP side: the service endpoint, the reports area (basic auth) and the update files, all on
// one port, every request logged.
#include "tools/devservice/Database.h"
#include "tools/devservice/Handlers.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace httplib {
class Server;
struct Request;
struct Response;
} // namespace httplib

namespace devservice {

class HttpServer {
public:
    static constexpr const char* endpointPath = "/terminal2secure.asp";
    static constexpr const char* reportsUser = "administrator";
    static constexpr const char* reportsPassword = "lantern";

    HttpServer(Database& db, std::filesystem::path filesRoot);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Binds and starts listening at the socket level; port 0 picks a free port. Returns the bound
    /// port, or -1 when the address cannot be bound.
    int bind(const std::string& host, int port);
    /// Accepts connections until stop(); call after bind(), usually on its own thread.
    bool run();
    /// True once run() is accepting connections.
    bool isRunning() const;
    bool waitUntilRunning(std::chrono::milliseconds timeout) const;
    void stop();

private:
    void setUpRoutes();
    /// A file of the update area, read as it is sent, with its validator and single ranges.
    void streamFile(const httplib::Request& req, httplib::Response& res,
                    const std::optional<std::filesystem::path>& path);

    Database& m_db;
    Handlers m_handlers;
    std::filesystem::path m_filesRoot;
    std::unique_ptr<httplib::Server> m_server;
};

} // namespace devservice
