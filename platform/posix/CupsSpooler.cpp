// Raw jobs through CUPS: the bytes are sent as application/vnd.cups-raw, so no filter touches
// them on the way to the device. Every call opens its own connection instead of libcups's
// shared default one, because only an own connection takes a connect time-out and an answer
// time-out.
#include "platform/posix/CupsSpooler.h"

#include "platform/Adapters.h"

#include <cups/cups.h>

#include <cerrno>
#include <memory>

namespace station {
namespace {

/// One connection to the scheduler and why its requests failed.
class Connection {
public:
    explicit Connection(const CupsSpooler::Bounds& bounds) : m_server(cupsServer()) {
        const auto start = std::chrono::steady_clock::now();
        // A server name starting with "/" is the scheduler's local socket; libcups dials it too.
        m_http = httpConnect2(m_server.c_str(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1,
                              static_cast<int>(bounds.connect.count()), nullptr);
        if (!m_http) {
            // Refused or no socket comes back at once; a scheduler too busy to accept takes the
            // whole connect time.
            const bool slow = std::chrono::steady_clock::now() - start >= bounds.connect * 9 / 10;
            throw SpoolerUnavailable(slow ? notAnswering() : notRunning());
        }
        httpSetTimeout(m_http, std::chrono::duration<double>(bounds.answer).count(), &Connection::timedOut, this);
    }
    ~Connection() { httpClose(m_http); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    http_t* get() const { return m_http; }

    /// After a failed request: throws when the scheduler did not answer in time or the line to
    /// it broke, so that the caller never takes that for a refusal of the printer or the job.
    void throwIfUnavailable() const {
        if (m_timedOut)
            throw SpoolerUnavailable(notAnswering());
        switch (httpError(m_http)) {
        case EPIPE:
        case ECONNRESET:
        case ECONNREFUSED:
        case ENOTCONN:
        case ETIMEDOUT:
            throw SpoolerUnavailable(notAnswering());
        default:
            break;
        }
        if (cupsLastError() == IPP_STATUS_ERROR_SERVICE_UNAVAILABLE)
            throw SpoolerUnavailable(notAnswering());
    }

private:
    static int timedOut(http_t*, void* self) {
        static_cast<Connection*>(self)->m_timedOut = true;
        return 0; // end the request
    }
    std::string notRunning() const { return "The print spooler is not running (nothing answers at " + m_server + ")."; }
    std::string notAnswering() const { return "The print spooler is not answering (at " + m_server + ")."; }

    std::string m_server;
    http_t* m_http = nullptr;
    bool m_timedOut = false;
};

using Answer = std::unique_ptr<ipp_t, decltype(&ippDelete)>;

Answer ask(const Connection& connection, ipp_t* request) {
    Answer answer(cupsDoRequest(connection.get(), request, "/"), &ippDelete);
    if (!answer)
        connection.throwIfUnavailable();
    return answer;
}

enum class Queue { Known, Unknown, Unclear };

/// Whether the scheduler has a printer or class of that name.
Queue lookUp(const Connection& connection, const std::string& printer) {
    char uri[HTTP_MAX_URI];
    httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost", ippPort(), "/printers/%s",
                     printer.c_str());
    ipp_t* request = ippNewRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr, "printer-name");
    const auto answer = ask(connection, request);
    if (cupsLastError() == IPP_STATUS_ERROR_NOT_FOUND)
        return Queue::Unknown;
    return answer && cupsLastError() < IPP_STATUS_REDIRECTION_OTHER_SITE ? Queue::Known : Queue::Unclear;
}

} // namespace

std::vector<std::string> CupsSpooler::printers() {
    const Connection connection(m_bounds);
    ipp_t* request = ippNewRequest(IPP_OP_CUPS_GET_PRINTERS);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr, "printer-name");
    const auto answer = ask(connection, request);
    std::vector<std::string> out;
    // A scheduler without printers says "not found".
    if (!answer || cupsLastError() == IPP_STATUS_ERROR_NOT_FOUND)
        return out;
    if (cupsLastError() >= IPP_STATUS_REDIRECTION_OTHER_SITE)
        throw SpoolerUnavailable(std::string("The print spooler refused to list its printers: ") +
                                 cupsLastErrorString());
    // The scheduler lists them by name, as the system's own printer lists do.
    for (auto* name = ippFindAttribute(answer.get(), "printer-name", IPP_TAG_NAME); name;
         name = ippFindNextAttribute(answer.get(), "printer-name", IPP_TAG_NAME))
        out.emplace_back(ippGetString(name, 0, nullptr));
    return out;
}

Spooler::Result CupsSpooler::printRaw(const std::string& printer, const std::string& documentName,
                                      const std::string& data) {
    if (printer.empty())
        return Result::UnknownPrinter;
    const Connection connection(m_bounds);
    http_t* http = connection.get();
    // A job for a queue the scheduler does not have fails without telling why: ask first.
    switch (lookUp(connection, printer)) {
    case Queue::Known:
        break;
    case Queue::Unknown:
        return Result::UnknownPrinter;
    case Queue::Unclear:
        return Result::Failed;
    }
    const int job = cupsCreateJob(http, printer.c_str(), documentName.c_str(), 0, nullptr);
    if (job == 0) {
        connection.throwIfUnavailable();
        return Result::Failed;
    }
    if (cupsStartDocument(http, printer.c_str(), job, documentName.c_str(), CUPS_FORMAT_RAW, 1) !=
        HTTP_STATUS_CONTINUE) {
        connection.throwIfUnavailable();
        cupsCancelJob2(http, printer.c_str(), job, 0);
        return Result::Failed;
    }
    const bool written = data.empty() || cupsWriteRequestData(http, data.data(), data.size()) == HTTP_STATUS_CONTINUE;
    // Success codes include "ok, some attributes ignored or substituted".
    const bool finished = cupsFinishDocument(http, printer.c_str()) < IPP_STATUS_REDIRECTION_OTHER_SITE;
    if (!written || !finished)
        connection.throwIfUnavailable();
    return written && finished ? Result::Done : Result::Failed;
}

std::unique_ptr<Spooler> makeSpooler() {
    return std::make_unique<CupsSpooler>();
}

} // namespace station
