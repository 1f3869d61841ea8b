#include "service/Replies.h"

#include <charconv>

namespace station {

StoreListReply readStoreList(std::string_view reply) {
    StoreListReply out;
    const auto pieces = text::countFields(reply, '|');
    // At least one whole record and the trailing piece: highest index 11.
    if (pieces < storeRecordFields + 1)
        return out;
    out.hasData = true;
    const std::size_t last = pieces - 1;
    text::Fields fields(reply, '|');
    std::array<std::string_view, storeRecordFields> record;
    for (std::size_t j = 0; j + 1 <= last; j += storeRecordFields) {
        if (j + storeRecordFields - 1 > last) {
            out.incompleteRecord = true;
            break;
        }
        for (auto& field : record)
            fields.next(field);
        if (out.stores.size() == StoreTable::capacity) {
            ++out.ignoredStores;
            continue;
        }
        out.stationId = record[0];
        StoreEntry e;
        std::string* targets[] = {&e.serialNumber, &e.terminalNumber, &e.userName, &e.password,  &e.clusterAddress,
                                  &e.hostPort,     &e.domainName,     &e.extra1,   &e.storeName, &e.displayUser};
        for (std::size_t f = 0; f < std::size(targets); ++f)
            *targets[f] = record[f + 1];
        out.stores.push_back(std::move(e));
    }
    return out;
}

DeviceSettingsReply readDeviceSettings(std::string_view reply) {
    DeviceSettingsReply out;
    const auto pieces = text::countFields(reply, '|');
    out.unknownStation = pieces == 1;
    text::Fields head(reply, '|');
    for (std::string_view field; out.leading.size() < 5 && head.next(field);)
        out.leading.emplace_back(field);

    text::Fields fields(reply, '|');
    std::array<std::string_view, 6> group;
    // Rows start while the start index is below the last index.
    for (std::size_t i = 0; i + 2 <= pieces; i += group.size()) {
        if (i + group.size() > pieces) {
            out.shortRow = true;
            break;
        }
        for (auto& field : group)
            fields.next(field);
        out.row.emplace();
        for (std::size_t f = 0; f < group.size(); ++f)
            (*out.row)[f] = group[f];
    }
    return out;
}

ReportFormat readReportFormat(std::string_view reply) {
    if (text::countFields(reply, '|') != 4)
        return {};
    text::Fields fields(reply, '|');
    std::string_view font, size, orientation;
    fields.next(font);
    fields.next(size);
    fields.next(orientation);
    return {std::string(font), std::string(size), orientation == "L"};
}

std::string readUpdateAddress(std::string_view reply) {
    if (text::countFields(reply, '|') < 3)
        return {};
    text::Fields fields(reply, '|');
    std::string_view piece;
    fields.next(piece);
    fields.next(piece);
    return std::string(piece);
}

std::string readTicketNumber(std::string_view reply) {
    if (text::countFields(reply, '|') < 2)
        return {};
    return text::trim(reply.substr(0, reply.find('|')));
}

std::vector<std::string> readOnCallList(std::string_view reply) {
    std::vector<std::string> out;
    text::Fields fields(reply, '|');
    for (std::string_view entry; fields.next(entry);)
        if (!entry.empty())
            out.emplace_back(entry);
    return out;
}

UploadFolder readUploadFolder(std::string_view reply) {
    UploadFolder out;
    if (text::countFields(reply, '|') < 2)
        return out;
    text::Fields fields(reply, '|');
    std::string_view folder, record;
    fields.next(folder);
    fields.next(record);
    out.folder = folder;
    long number = 0;
    const auto [end, ec] = std::from_chars(record.data(), record.data() + record.size(), number);
    if (ec == std::errc{} && end == record.data() + record.size())
        out.record = number;
    return out;
}

} // namespace station
