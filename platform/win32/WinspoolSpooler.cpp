// Raw jobs through the Windows spooler: one document, one page, one write of the bytes as they
// stand. No data type is named, so the printer's default applies.
#include "platform/win32/WideText.h"

#include "platform/Adapters.h"

#include <winspool.h>

#include <memory>

namespace station {
namespace {

/// Error codes with which the spooler's RPC interface says that the service is not there.
bool spoolerNotRunning(DWORD code) {
    switch (code) {
    case RPC_S_SERVER_UNAVAILABLE:
    case RPC_S_SERVER_TOO_BUSY:
    case RPC_S_CALL_FAILED:
    case RPC_S_CALL_FAILED_DNE:
    case RPC_S_UNKNOWN_IF:
    case EPT_S_NOT_REGISTERED:
    case ERROR_SERVICE_NOT_ACTIVE:
        return true;
    default:
        return false;
    }
}

[[noreturn]] void throwNotRunning(DWORD code) {
    throw SpoolerUnavailable("The Windows print spooler is not running (service \"Print Spooler\"): " +
                             systemMessage(code) + ". Start the service and print again.");
}

std::vector<std::string> listPrinters() {
    const DWORD flags = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;
    // The list can grow between the size query and the read: ask again with the new size.
    std::vector<BYTE> buffer;
    DWORD needed = 0;
    DWORD returned = 0;
    for (int attempt = 0; attempt < 4; ++attempt) {
        const DWORD size = static_cast<DWORD>(buffer.size());
        if (EnumPrintersW(flags, nullptr, 4, buffer.empty() ? nullptr : buffer.data(), size, &needed, &returned)) {
            std::vector<std::string> out;
            const auto* info = reinterpret_cast<const PRINTER_INFO_4W*>(buffer.data());
            for (DWORD i = 0; i < returned; ++i)
                out.push_back(narrow(info[i].pPrinterName));
            return out;
        }
        const DWORD error = GetLastError();
        if (spoolerNotRunning(error))
            throwNotRunning(error);
        if (error != ERROR_INSUFFICIENT_BUFFER || needed == 0)
            return {};
        buffer.resize(needed);
    }
    return {};
}

Spooler::Result submitRaw(const std::wstring& printer, std::wstring documentName, const std::string& data) {
    HANDLE handle = nullptr;
    std::wstring name = printer;
    if (!OpenPrinterW(name.data(), &handle, nullptr) || !handle) {
        const DWORD error = GetLastError();
        if (spoolerNotRunning(error))
            throwNotRunning(error);
        return error == ERROR_INVALID_PRINTER_NAME ? Spooler::Result::UnknownPrinter : Spooler::Result::Failed;
    }
    DOC_INFO_1W doc{};
    doc.pDocName = documentName.data();
    doc.pOutputFile = nullptr;
    doc.pDatatype = nullptr;
    bool ok = false;
    if (StartDocPrinterW(handle, 1, reinterpret_cast<LPBYTE>(&doc)) != 0) {
        if (StartPagePrinter(handle)) {
            DWORD written = 0;
            std::string bytes = data; // WritePrinter takes a non-const pointer
            ok = WritePrinter(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written) &&
                 written == bytes.size();
            EndPagePrinter(handle);
        }
        EndDocPrinter(handle);
    }
    ClosePrinter(handle);
    return ok ? Spooler::Result::Done : Spooler::Result::Failed;
}

// The spooler's calls have no time-outs of their own. A stuck driver or a silent network
// printer holds only the worker thread the station runs these calls on (app/SystemPorts), which
// gives the call up after its limit.
class WinspoolSpooler final : public Spooler {
public:
    std::vector<std::string> printers() override { return listPrinters(); }

    Result printRaw(const std::string& printer, const std::string& documentName, const std::string& data) override {
        if (printer.empty())
            return Result::UnknownPrinter;
        return submitRaw(wide(printer), wide(documentName), data);
    }
};

} // namespace

std::unique_ptr<Spooler> makeSpooler() {
    return std::make_unique<WinspoolSpooler>();
}

} // namespace station
