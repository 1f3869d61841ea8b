#pragma once
#include "platform/HttpClient.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace station {

/// Takes a file's bytes in order, as they are read or arrive.
class ByteSink {
public:
    virtual ~ByteSink() = default;
    virtual void write(const char* data, std::size_t size) = 0;
};

/// Downloads a large file straight to disk as it arrives, never whole into memory, and continues
/// a transfer that broke off earlier. Bounded like every download: it ends when no byte has moved
/// for the stall time, and it refuses a body larger than its size limit.
class FileDownloader {
public:
    struct Request {
        std::string url;
        std::string path;             ///< the file written; what it already holds may be continued
        std::uint64_t resumeFrom = 0; ///< bytes of `path` to keep and continue after; 0 = start over
        /// The server's validator (ETag or Last-Modified) of the file `path` holds a part of. The
        /// server sends the rest only while it still has that very file, otherwise the whole one.
        std::string ifRange;
        /// When set, gets every byte of the whole file once, in order: on a resumed download the
        /// kept bytes (read back from `path`) and then the rest as it arrives; otherwise the body
        /// as it arrives. A download that breaks leaves it incomplete.
        std::shared_ptr<ByteSink> sink;
    };
    struct Result {
        bool ok = false;        ///< the whole body is in the file
        long status = 0;        ///< HTTP status, 0 when no answer came
        bool resumed = false;   ///< the server sent the rest, appended to the kept bytes
        std::uint64_t size = 0; ///< bytes in the file now
        std::string validator;  ///< the server's ETag, else its Last-Modified; empty when it gave none
        std::string error;      ///< readable reason when !ok
    };
    using Progress = HttpClient::Progress;

    virtual ~FileDownloader() = default;
    /// GETs `request.url` into `request.path`. With `resumeFrom`, asks for the rest guarded by
    /// `ifRange`; a server that answers with the whole file has it written from the start. What
    /// arrived before a failure stays in the file. Progress counts the whole file, kept bytes
    /// included.
    virtual Result download(const Request& request, const Progress& progress = {}) = 0;
};

} // namespace station
