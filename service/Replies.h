#pragma once
// What the service's replies mean, read from the decoded reply text. A reply may be as large as
// the transport allows, so the readers walk it piece by piece and keep only what the station
// can hold: at most 300 stores, one settings row, the few fields a caller reads by index.
#include "core/StationState.h"
#include "core/Text.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace station {

/// The "mac=" store list: records of 11 fields (station identity, then the ten text fields of a
/// store) starting at piece 0, 11, 22, … while the start is below the last piece, so the empty
/// piece after the final "|" never starts a record.
struct StoreListReply {
    bool hasData = false;           ///< false: fewer than 12 pieces, too short to hold one store
    std::string stationId;          ///< field 0 of the last store read
    std::vector<StoreEntry> stores; ///< at most 300, in reply order
    std::size_t ignoredStores = 0;  ///< whole records beyond the 300th
    bool incompleteRecord = false;  ///< the reply ended inside a record, which was left out
};
inline constexpr std::size_t storeRecordFields = 11;
StoreListReply readStoreList(std::string_view reply);

/// The "prt=" device settings: rows of six starting at piece 0, 6, 12, … while the start is
/// below the last piece. Each row replaces the one before it (the station holds one row).
struct DeviceSettingsReply {
    std::optional<std::array<std::string, 6>> row; ///< the last whole row
    bool unknownStation = false;                   ///< one piece, no "|": the service has no row yet
    bool shortRow = false;                         ///< the last group of six ran short
    /// The pieces by index as the task mode reads them (0 receipt, 1 label, 2 report printer,
    /// 3 reader type, 4 reader port); only the first five are kept.
    std::vector<std::string> leading;
};
DeviceSettingsReply readDeviceSettings(std::string_view reply);

/// The "report=" format of a report: exactly four pieces give font, size and orientation ("L" is
/// landscape, case counts); any other reply gives the fallback.
struct ReportFormat {
    std::string font = "courier";
    std::string size = "10";
    bool landscape = true; ///< the fallback prints in landscape on purpose
};
ReportFormat readReportFormat(std::string_view reply);

/// The "store=" reply: the keys of the stores shut down for maintenance, every piece but the last.
class MaintenanceList {
public:
    explicit MaintenanceList(std::string reply) : m_reply(std::move(reply)) {}
    /// Calls `f(key)` for each key in reply order.
    template <typename F> void forEachKey(F&& f) const {
        text::Fields pieces(m_reply, '|');
        std::string_view piece;
        if (!pieces.next(piece))
            return;
        // A piece is a key only when another follows it: the one after the last "|" is none.
        for (std::string_view next; pieces.next(next); piece = next)
            f(piece);
    }

private:
    std::string m_reply;
};

/// "upd1=": the second piece of a reply of three or more pieces, else empty.
std::string readUpdateAddress(std::string_view reply);
/// "h=1&hd=": the first piece, trimmed, when there is more than one piece; else empty.
std::string readTicketNumber(std::string_view reply);
/// "h=1&oncall=": the non-empty pieces.
std::vector<std::string> readOnCallList(std::string_view reply);

/// The station's saved upload folder ("getupload="): the reply is folder | record number |.
struct UploadFolder {
    static constexpr long noRecord = 65535; ///< the station has no saved folder yet
    std::string folder;
    long record = noRecord;
};
UploadFolder readUploadFolder(std::string_view reply);

} // namespace station
