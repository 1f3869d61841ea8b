#include "host/DocumentPrinting.h"

#include "core/Text.h"

#include <charconv>

namespace station {
namespace {

// A name that is only dots would be read as "this folder" or "the folder above" on the way to
// the server: its dots are encoded too.
std::string encodeSegment(std::string_view segment) {
    static constexpr char hex[] = "0123456789ABCDEF";
    const bool onlyDots = segment.find_first_not_of('.') == std::string_view::npos;
    std::string out;
    out.reserve(segment.size());
    for (const char c : segment) {
        const auto b = static_cast<unsigned char>(c);
        const bool plain = (b >= 'A' && b <= 'Z') || (b >= 'a' && b <= 'z') || (b >= '0' && b <= '9') || b == '-' ||
                           b == '_' || b == '~' || (b == '.' && !onlyDots);
        if (plain) {
            out += c;
        } else {
            out += '%';
            out += hex[b >> 4];
            out += hex[b & 0xF];
        }
    }
    return out;
}

// From the download on, a failing step is skipped and the next one runs. The first failure of
// a printing step is kept, so the user learns why nothing came out. A spooler that cannot be
// asked ends the job at once: every later step would only wait for it again.
template <typename Step> void orSkip(Step&& step, std::string* firstFault = nullptr) {
    try {
        step();
    } catch (const SpoolerUnavailable&) {
        throw;
    } catch (const std::exception& e) {
        if (firstFault && firstFault->empty())
            *firstFault = e.what();
    }
}

const char* kindWord(DocumentKind kind) {
    switch (kind) {
    case DocumentKind::Report:
        return "Report";
    case DocumentKind::Receipt:
        return "Receipt";
    case DocumentKind::Label:
        return "Label";
    }
    return "";
}

std::string missingNameMessage(DocumentKind kind) {
    switch (kind) {
    case DocumentKind::Report:
        return "No report name was passed.  Please notify the VORNEOnline Helpdesk";
    case DocumentKind::Receipt:
        return "No receipt name was passed.  Please notify the VORNEOnline Helpdesk";
    case DocumentKind::Label:
        return "No Label name was passed.  Please notify the VORNEOnline Helpdesk";
    }
    return {};
}

std::string notFoundMessage(std::string_view storeId, std::string_view name) {
    return "Error Printing file, store = '" + std::string(storeId) + "', report = '" + std::string(name) +
           "' was not found";
}

} // namespace

std::string documentName(std::string_view name) {
    const auto slash = name.rfind('\\');
    return std::string(slash == std::string_view::npos ? name : name.substr(slash + 1));
}

std::string documentAddress(std::string_view reportsUrl, std::string_view storeId, std::string_view name) {
    return std::string(reportsUrl) + encodeSegment(storeId.substr(0, 5)) + "/" + encodeSegment(storeId) + "/" +
           encodeSegment(name);
}

std::vector<std::string> printStatements(std::string_view text) {
    std::vector<std::string> out;
    while (!text.empty()) {
        const auto ff = text.find('\f');
        const auto end = ff == std::string_view::npos ? text.size() : ff + 1;
        out.emplace_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return out;
}

bool selectPrinter(TextPrinter& printer, std::string_view name) {
    const auto wanted = text::lower(name);
    for (const auto& installed : printer.printers()) {
        if (text::lower(installed) == wanted) {
            printer.select(installed);
            return true;
        }
    }
    return !printer.current().empty();
}

std::optional<float> fontSize(std::string_view size) {
    const auto t = text::trim(size);
    float value = 0;
    const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), value);
    if (ec != std::errc{} || end != t.data() + t.size() || !(value > 0))
        return std::nullopt;
    return value;
}

PrinterChoice getPrinters(const ServiceClient& service, std::string_view stationId, std::size_t index) {
    const auto reply = service.deviceSettings(stationId);
    const auto fields = reply ? reply->leading : std::vector<std::string>{};
    if (fields.size() <= index || fields.size() <= 4)
        throw PrintFault(PrintFault::subscriptOutOfRange, "Subscript out of range");
    return {fields[index], fields[4]};
}

std::string printFaultHead(std::string_view storeId, std::string_view name) {
    return "Error Printing file, store = '" + std::string(storeId) + "', report = '" + std::string(name) + "'";
}

std::string printFaultMessage(std::string_view storeId, std::string_view name, int number) {
    return printFaultHead(storeId, name) + "\n" + std::to_string(number);
}

DocumentPrinting::DocumentPrinting(Peers peers, std::string reportsUrl)
    : m_peers(peers), m_reportsUrl(std::move(reportsUrl)) {}

void DocumentPrinting::tell(const std::string& wireText, const std::string& detail) {
    m_peers.dialogs.message(text::fromWire(wireText) + detail, Dialogs::Icon::None, Dialogs::Buttons::Ok, std::nullopt);
}

std::string DocumentPrinting::download(std::string_view storeId, std::string_view name) {
    const HttpClient::BasicAuth auth{"administrator", "lantern"};
    const auto response = m_peers.http.get(documentAddress(m_reportsUrl, storeId, name), &auth);
    // An error page is no document.
    return response.ok ? response.body : std::string();
}

void DocumentPrinting::printReport(const std::string& storeId, const std::string& reportName,
                                   const std::function<std::string()>& printerName) {
    // Host commands are taken while a report waits for its document or its printer: a report
    // asked for meanwhile waits its turn instead of writing into the open document.
    m_waitingReports.push_back({storeId, reportName, printerName});
    if (m_printingReports)
        return;
    m_printingReports = true;
    struct Done {
        bool& printing;
        ~Done() { printing = false; }
    } done{m_printingReports};
    while (!m_waitingReports.empty()) {
        const auto next = std::move(m_waitingReports.front());
        m_waitingReports.pop_front();
        printOneReport(next.storeId, next.reportName, next.printerName);
    }
}

void DocumentPrinting::printOneReport(const std::string& storeId, const std::string& reportName,
                                      const std::function<std::string()>& printerName) {
    if (storeId.size() < 10) {
        tell("Report sent an invalid store id of '" + storeId + "'.  Please notify the VORNEOnline Helpdesk");
        return;
    }
    if (reportName.empty()) {
        tell(missingNameMessage(DocumentKind::Report));
        return;
    }
    const auto name = documentName(reportName);

    std::string text;
    orSkip([&] { text = download(storeId, name); });
    if (text.empty()) {
        tell(notFoundMessage(storeId, name));
        return;
    }
    ReportFormat format;
    orSkip([&] { format = m_peers.service.reportFormat(std::string_view(name).substr(0, 3)); });
    auto& printer = m_peers.textPrinter;
    std::string fault;
    try {
        const auto wanted = text::fromWire(text::trim(printerName()));
        bool printable = true;
        orSkip([&] { printable = selectPrinter(printer, wanted); }, &fault);
        if (!printable) {
            // Never a printer the station merely guessed: the first queue may be a receipt printer.
            tell(printFaultHead(storeId, name),
                 "\nThe printer '" + wanted + "' is not installed and no default printer is set.");
            return;
        }
        orSkip(
            [&] {
                // A size that is no number keeps the printer's current size.
                printer.setFont(format.font, fontSize(format.size).value_or(0.0f));
            },
            &fault);
        orSkip(
            [&] {
                printer.setOrientation(format.landscape ? TextPrinter::Orientation::Landscape
                                                        : TextPrinter::Orientation::Portrait);
            },
            &fault);
        // No new-page call: the form feed that ends each statement ends the page.
        for (const auto& statement : printStatements(text))
            orSkip([&] { printer.print(statement); }, &fault);
        orSkip([&] { printer.endDocument(); }, &fault);
    } catch (const SpoolerUnavailable& e) {
        fault = e.what();
    }
    if (!fault.empty())
        tell(printFaultHead(storeId, name), "\n" + fault);
}

void DocumentPrinting::printRaw(DocumentKind kind, const std::string& storeId, const std::string& name,
                                const std::function<std::string()>& printerName) {
    if (storeId.size() < 10) {
        tell(std::string(kindWord(kind)) + " sent an invalid store id of '" + storeId +
             "'.  Please notify the VORNEOnline Helpdesk");
        return;
    }
    if (name.empty()) {
        tell(missingNameMessage(kind));
        return;
    }
    const auto file = documentName(name);
    const auto printer = printerName();
    const auto text = download(storeId, file);
    if (text.empty()) {
        tell(notFoundMessage(storeId, file));
        return;
    }
    switch (m_peers.spooler.printRaw(text::fromWire(printer), "AAAAAA", text)) {
    case Spooler::Result::Done:
        break;
    case Spooler::Result::UnknownPrinter:
        tell("The Printer Name you typed wasn't recognized.");
        break;
    case Spooler::Result::Failed:
        throw PrintFault(PrintFault::printerError, "Printer error");
    }
}

} // namespace station
