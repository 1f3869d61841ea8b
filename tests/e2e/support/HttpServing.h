#pragma once
// An httplib server on a free loopback port, served from a thread of its own until destroyed.
// Set the routes before constructing: the server thread reads them.
#include <httplib.h>

#include <chrono>
#include <string>
#include <thread>

namespace station::test {

class Serving {
public:
    explicit Serving(httplib::Server& server, std::string scheme = "http") : m_server(server) {
        const int port = m_server.bind_to_any_port("127.0.0.1");
        m_base = scheme + "://127.0.0.1:" + std::to_string(port);
        m_thread = std::thread([this] { m_server.listen_after_bind(); });
        for (int i = 0; i < 500 && !m_server.is_running(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    Serving(const Serving&) = delete;
    Serving& operator=(const Serving&) = delete;
    ~Serving() {
        m_server.stop();
        m_thread.join();
    }
    std::string url(const std::string& path) const { return m_base + path; }

private:
    httplib::Server& m_server;
    std::string m_base;
    std::thread m_thread;
};

} // namespace station::test
