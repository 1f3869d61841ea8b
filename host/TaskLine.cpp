#include "host/TaskLine.h"

#include "core/Text.h"

#include <charconv>

namespace station {

TaskLine parseTaskLine(std::string_view commandLine) {
    TaskLine line;
    line.fields = text::split(commandLine, ',');
    if (!line.fields.empty()) {
        const auto number = text::trim(line.fields[0]);
        int value = 0;
        const auto [end, ec] = std::from_chars(number.data(), number.data() + number.size(), value);
        if (ec == std::errc{} && end == number.data() + number.size())
            line.task = value;
    }
    return line;
}

std::optional<DocumentKind> printTaskKind(int task) {
    switch (task) {
    case 5:
        return DocumentKind::Report;
    case 6:
        return DocumentKind::Receipt;
    case 7:
        return DocumentKind::Label;
    default:
        return std::nullopt;
    }
}

bool runPrintTask(const TaskLine& line, DocumentPrinting& printing, const ServiceClient& service,
                  const std::string& stationId, Dialogs& dialogs) {
    const auto kind = printTaskKind(line.task);
    if (!kind)
        return false;
    const auto storeId = line.field(1);
    const auto name = line.field(2);
    // Receipt printer is field 0 of the printer reply, label printer 1, report printer 2.
    const std::size_t printerField = *kind == DocumentKind::Receipt ? 0 : *kind == DocumentKind::Label ? 1 : 2;
    const auto printer = [&] { return getPrinters(service, stationId, printerField).device; };
    try {
        if (*kind == DocumentKind::Report)
            printing.printReport(storeId, name, printer);
        else
            printing.printRaw(*kind, storeId, name, printer);
    } catch (const PrintFault& fault) {
        dialogs.message(text::fromWire(printFaultMessage(storeId, documentName(name), fault.number())));
    } catch (const SpoolerUnavailable& unavailable) {
        dialogs.message(text::fromWire(printFaultHead(storeId, documentName(name))) + "\n" + unavailable.what());
    } catch (const std::exception&) {
        dialogs.message(text::fromWire(printFaultMessage(storeId, documentName(name), PrintFault::general)));
    }
    return true;
}

} // namespace station
