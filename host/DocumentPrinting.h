#pragma once
// Reports, receipts and labels: the finished document is downloaded from the reports area of the
// service and handed to a printer unchanged. Reports go through the printer object with a font
// and an orientation looked up per report; receipts and labels go to the spooler as raw bytes.
#include "platform/Dialogs.h"
#include "platform/HttpClient.h"
#include "platform/Spooler.h"
#include "platform/TextPrinter.h"
#include "service/ServiceClient.h"

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace station {

/// The name without its directory part (everything up to the last "\").
std::string documentName(std::string_view name);
/// Base + first five characters of the store id + "/" + store id + "/" + name. Each segment is
/// percent-encoded, so no store id or name can reach outside the reports folder.
std::string documentAddress(std::string_view reportsUrl, std::string_view storeId, std::string_view name);
/// The print statements of a document: each ends at and includes a form feed; the rest after
/// the last one is a statement of its own.
std::vector<std::string> printStatements(std::string_view text);
/// Makes current the first installed printer whose name equals `name`, both lower-cased; with
/// no match the current printer stays. False when nothing would print: no match and no current
/// printer (no default is set).
bool selectPrinter(TextPrinter& printer, std::string_view name);
/// The font size text as the printer takes it; nothing when it is no number.
std::optional<float> fontSize(std::string_view size);

/// The documents a print job reads from the task line or the host.
enum class DocumentKind { Report, Receipt, Label };

/// The printer reply of the service ("prt=" + station identity): fields by index 0 receipt,
/// 1 label, 2 report printer, 3 reader type, 4 reader port.
struct PrinterChoice {
    std::string device;     ///< the field asked for
    std::string readerPort; ///< field 4, kept by every request
};
/// Throws PrintFault (subscript out of range) when the reply has no such field.
PrinterChoice getPrinters(const ServiceClient& service, std::string_view stationId, std::size_t index);

/// A fault in a print job, with the number the job's message shows.
class PrintFault : public std::runtime_error {
public:
    PrintFault(int number, const std::string& what) : std::runtime_error(what), m_number(number) {}
    int number() const { return m_number; }

    static constexpr int subscriptOutOfRange = 9;
    static constexpr int printerError = 482;
    static constexpr int general = 5;

private:
    int m_number;
};

class DocumentPrinting {
public:
    /// What printing reaches: the service, the reports server, the printer object, the spooler
    /// and the message boxes.
    struct Peers {
        const ServiceClient& service;
        HttpClient& http;
        TextPrinter& textPrinter;
        Spooler& spooler;
        Dialogs& dialogs;
    };
    DocumentPrinting(Peers peers, std::string reportsUrl);

    /// Prints a report on the printer that `printerName` names when asked (after the checks and
    /// the download); a printer that is not installed leaves the current one. A report that
    /// cannot print says why: no printer at all, a spooler that cannot be asked, a failing step.
    /// Asked while another report prints, it prints after that one.
    void printReport(const std::string& storeId, const std::string& reportName,
                     const std::function<std::string()>& printerName);
    /// Prints a receipt or label as raw bytes on the printer that `printerName` names. Throws
    /// PrintFault when the job fails on the way, SpoolerUnavailable when the spooler cannot be asked.
    void printRaw(DocumentKind kind, const std::string& storeId, const std::string& name,
                  const std::function<std::string()>& printerName);

    /// The downloaded document, empty when it could not be fetched.
    std::string download(std::string_view storeId, std::string_view name);

private:
    struct ReportJob {
        std::string storeId;
        std::string reportName;
        std::function<std::string()> printerName;
    };
    void printOneReport(const std::string& storeId, const std::string& reportName,
                        const std::function<std::string()>& printerName);
    /// A message box of the wire text (decoded) and a detail already in UTF-8.
    void tell(const std::string& wireText, const std::string& detail = {});

    std::deque<ReportJob> m_waitingReports;
    bool m_printingReports = false;

    Peers m_peers;
    std::string m_reportsUrl;
};

/// The first line of the message of a failed print job: "Error Printing file, store = ...".
std::string printFaultHead(std::string_view storeId, std::string_view name);
/// The message of a failed print job: the first line, then the fault's number.
std::string printFaultMessage(std::string_view storeId, std::string_view name, int number);

} // namespace station
