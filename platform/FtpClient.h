#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace station {

/// One FTP session of the uploader: log in, work in one remote folder, list, store, delete.
class FtpClient {
public:
    /// Called while a transfer runs with (busy, done, total).
    using Progress = std::function<void(bool busy, std::uint64_t done, std::uint64_t total)>;
    virtual ~FtpClient() = default;
    virtual bool login(const std::string& host, const std::string& user, const std::string& password) = 0;
    virtual bool isConnected() const = 0;
    virtual void disconnect() = 0;
    virtual bool changeFolder(const std::string& remoteFolder) = 0;
    /// Names of the remote folder's entries, listed with the given argument (e.g. "-lr *.*").
    virtual std::vector<std::string> list(const std::string& argument) = 0;
    virtual bool store(const std::string& localPath, const std::string& remoteName, const Progress& progress) = 0;
    virtual bool remove(const std::string& remoteName) = 0;
    /// The last error's description, empty when none.
    virtual std::string lastError() const = 0;
};

} // namespace station
