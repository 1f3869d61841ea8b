#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace station {

/// One FTP session of the uploader: log in, work in one remote folder, list, store, delete. The
/// session keeps its login between operations until it is disconnected or the line breaks.
class FtpClient {
public:
    /// Called while a transfer runs with (busy, done, total).
    using Progress = std::function<void(bool busy, std::uint64_t done, std::uint64_t total)>;
    virtual ~FtpClient() = default;
    virtual bool login(const std::string& host, const std::string& user, const std::string& password) = 0;
    virtual bool isConnected() const = 0;
    virtual void disconnect() = 0;
    virtual bool changeFolder(const std::string& remoteFolder) = 0;
    /// Names of the remote folder's entries from its long listing (LIST), with the given argument
    /// (e.g. "-lr *.*"; empty for none). A listing that failed is empty with lastError() set.
    virtual std::vector<std::string> list(const std::string& argument) = 0;
    /// Names of the remote folder's entries from its name listing (NLST).
    virtual std::vector<std::string> nameList() = 0;
    virtual bool store(const std::string& localPath, const std::string& remoteName, const Progress& progress) = 0;
    virtual bool remove(const std::string& remoteName) = 0;
    /// The last error's description, empty when none.
    virtual std::string lastError() const = 0;
};

/// Opens one FTP session per window that needs one.
class FtpSessions {
public:
    virtual ~FtpSessions() = default;
    virtual std::unique_ptr<FtpClient> open() = 0;
};

} // namespace station
