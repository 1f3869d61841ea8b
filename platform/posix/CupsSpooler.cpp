// Raw jobs through CUPS: the bytes are sent as application/vnd.cups-raw, so no filter touches
// them on the way to the device. libcups reads CUPS_SERVER itself, which is how a private
// scheduler is reached.
#include "platform/Adapters.h"

#include <cups/cups.h>

namespace station {
namespace {

class CupsSpooler final : public Spooler {
public:
    std::vector<std::string> printers() override {
        cups_dest_t* dests = nullptr;
        const int count = cupsGetDests(&dests);
        std::vector<std::string> out;
        for (int i = 0; i < count; ++i)
            if (!dests[i].instance)
                out.emplace_back(dests[i].name);
        cupsFreeDests(count, dests);
        return out;
    }

    Result printRaw(const std::string& printer, const std::string& documentName, const std::string& data) override {
        if (printer.empty())
            return Result::UnknownPrinter;
        // A job for a queue the scheduler does not have fails without telling why: ask first.
        cups_dest_t* dest = cupsGetNamedDest(CUPS_HTTP_DEFAULT, printer.c_str(), nullptr);
        if (!dest)
            return Result::UnknownPrinter;
        cupsFreeDests(1, dest);
        const int job = cupsCreateJob(CUPS_HTTP_DEFAULT, printer.c_str(), documentName.c_str(), 0, nullptr);
        if (job == 0)
            return Result::Failed;
        if (cupsStartDocument(CUPS_HTTP_DEFAULT, printer.c_str(), job, documentName.c_str(), CUPS_FORMAT_RAW, 1) !=
            HTTP_STATUS_CONTINUE) {
            cupsCancelJob2(CUPS_HTTP_DEFAULT, printer.c_str(), job, 0);
            return Result::Failed;
        }
        const bool written =
            data.empty() || cupsWriteRequestData(CUPS_HTTP_DEFAULT, data.data(), data.size()) == HTTP_STATUS_CONTINUE;
        // Success codes include "ok, some attributes ignored or substituted".
        const bool finished =
            cupsFinishDocument(CUPS_HTTP_DEFAULT, printer.c_str()) < IPP_STATUS_REDIRECTION_OTHER_SITE;
        return written && finished ? Result::Done : Result::Failed;
    }
};

} // namespace

std::unique_ptr<Spooler> makeSpooler() {
    return std::make_unique<CupsSpooler>();
}

} // namespace station
