// Raw jobs through the Windows spooler: one document, one page, one write of the bytes as they
// stand. No data type is named, so the printer's default applies.
#include "platform/Adapters.h"

#include <windows.h>
#include <winspool.h>

namespace station {
namespace {

class WinspoolSpooler final : public Spooler {
public:
    std::vector<std::string> printers() override {
        DWORD needed = 0;
        DWORD returned = 0;
        const DWORD flags = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;
        EnumPrintersA(flags, nullptr, 4, nullptr, 0, &needed, &returned);
        std::vector<BYTE> buffer(needed);
        std::vector<std::string> out;
        if (needed == 0 || !EnumPrintersA(flags, nullptr, 4, buffer.data(), needed, &needed, &returned))
            return out;
        const auto* info = reinterpret_cast<const PRINTER_INFO_4A*>(buffer.data());
        for (DWORD i = 0; i < returned; ++i)
            out.emplace_back(info[i].pPrinterName);
        return out;
    }

    Result printRaw(const std::string& printer, const std::string& documentName, const std::string& data) override {
        if (printer.empty())
            return Result::UnknownPrinter;
        HANDLE handle = nullptr;
        if (!OpenPrinterA(const_cast<LPSTR>(printer.c_str()), &handle, nullptr) || !handle)
            return Result::UnknownPrinter;
        std::string name = documentName;
        DOC_INFO_1A doc{};
        doc.pDocName = name.data();
        doc.pOutputFile = nullptr;
        doc.pDatatype = nullptr;
        bool ok = false;
        if (StartDocPrinterA(handle, 1, reinterpret_cast<LPBYTE>(&doc)) != 0) {
            if (StartPagePrinter(handle)) {
                DWORD written = 0;
                ok = WritePrinter(handle, const_cast<char*>(data.data()), static_cast<DWORD>(data.size()), &written) &&
                     written == data.size();
                EndPagePrinter(handle);
            }
            EndDocPrinter(handle);
        }
        ClosePrinter(handle);
        return ok ? Result::Done : Result::Failed;
    }
};

} // namespace

std::unique_ptr<Spooler> makeSpooler() {
    return std::make_unique<WinspoolSpooler>();
}

} // namespace station
