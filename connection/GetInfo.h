#pragma once
// The decisions of the "Get External Data" window: loading and saving connection files, and
// handing the sign-on values to the station. The window shows the boxes and calls these.
#include "core/StationState.h"
#include "platform/Dialogs.h"

#include <cstdint>
#include <optional>
#include <string>

namespace station {

/// The texts of the window's five boxes (UTF-8).
struct ConnectionBoxes {
    std::string userName;
    std::string password;
    std::string hostAddress;
    std::string domain;
    std::string station;
    bool operator==(const ConnectionBoxes&) const = default;
};

class GetInfo {
public:
    static constexpr const char* openFilter = "Open Connections | *.XML";
    static constexpr const char* saveFilter = "Connection File | *.xml";
    /// Connection files are a few hundred bytes; a file far larger is none.
    static constexpr std::uintmax_t maxFileSize = 1u << 20;

    GetInfo(Dialogs& dialogs, ConnectionSettings& settings, std::string programFolder);

    /// The boxes as the window opens: the connection settings.
    ConnectionBoxes Form_Load() const;
    /// Asks for a connection file and reads it: the new box texts (trimmed), or nothing when
    /// nothing is to change (a message said why). The settings stay as they are; only the
    /// file's path is remembered.
    std::optional<ConnectionBoxes> populate();
    /// Asks for a file name and saves the boxes there; false when nothing was saved (a message
    /// said why).
    bool SaveLocal(const ConnectionBoxes& boxes);
    /// SaveLocal, then tells where the file went; false when nothing was saved.
    bool cmdSave_Click(const ConnectionBoxes& boxes);
    /// The boxes, trimmed, become the connection settings; an empty domain becomes ".".
    void cmdLogin_Click(const ConnectionBoxes& boxes);

private:
    Dialogs& m_dialogs;
    ConnectionSettings& m_settings;
    std::string m_programFolder;
};

} // namespace station
