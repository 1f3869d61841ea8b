#include "connection/GetInfo.h"

#include "connection/ConnectionFile.h"
#include "core/Text.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace station {

namespace fs = std::filesystem;

namespace {

/// The chosen name as a path: the dialogs hand over UTF-8.
fs::path utf8Path(const std::string& name) {
    return fs::path(std::u8string(name.begin(), name.end()));
}

std::string trimmedValue(const std::optional<std::string>& value) {
    return value ? text::trim(*value) : std::string();
}

} // namespace

GetInfo::GetInfo(Dialogs& dialogs, ConnectionSettings& settings, std::string programFolder)
    : m_dialogs(dialogs), m_settings(settings), m_programFolder(std::move(programFolder)) {}

ConnectionBoxes GetInfo::Form_Load() const {
    return {m_settings.userName, m_settings.password, m_settings.hostAddress, m_settings.domain,
            m_settings.stationNumber};
}

std::optional<ConnectionBoxes> GetInfo::populate() {
    const auto chosen = m_dialogs.openFile(m_programFolder, openFilter);
    if (chosen.empty()) {
        m_dialogs.message("No connection file was selected");
        return std::nullopt;
    }
    const auto previous = m_settings.filePath;
    m_settings.filePath = chosen;
    std::error_code ec;
    if (!fs::exists(utf8Path(chosen), ec)) {
        m_dialogs.message("Can not populate there is no local file");
        return std::nullopt;
    }
    try {
        const auto size = fs::file_size(utf8Path(chosen), ec);
        if (ec)
            throw ConnectionFileError("it cannot be read (" + ec.message() + ")");
        if (size > maxFileSize)
            throw ConnectionFileError("it is far too large for a connection file");
        std::ifstream in(utf8Path(chosen), std::ios::binary);
        std::ostringstream content;
        content << in.rdbuf();
        if (!in)
            throw ConnectionFileError("it cannot be read");
        const auto row = readConnectionFile(content.str());
        return ConnectionBoxes{trimmedValue(row.username), trimmedValue(row.password), trimmedValue(row.ip),
                               trimmedValue(row.domain), trimmedValue(row.station)};
    } catch (const ConnectionFileError& e) {
        // A file that is no connection file changes nothing.
        m_settings.filePath = previous;
        m_dialogs.message(chosen + " could not be loaded: " + e.what());
        return std::nullopt;
    }
}

bool GetInfo::SaveLocal(const ConnectionBoxes& boxes) {
    const auto chosen = m_dialogs.saveFile(m_settings.filePath, saveFilter);
    if (chosen.empty()) {
        m_dialogs.message("No filename was selected, connection not saved");
        return false;
    }
    const auto path = utf8Path(chosen);
    std::error_code ec;
    if (fs::exists(path, ec))
        fs::remove(path, ec);
    if (m_settings.domain.empty())
        m_settings.domain = ".";
    const auto file =
        writeConnectionFile({boxes.userName, boxes.password, boxes.domain, boxes.hostAddress, boxes.station});
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << file;
    out.close();
    if (!out) {
        m_dialogs.message("The connection could not be saved to " + chosen, Dialogs::Icon::Critical);
        return false;
    }
    m_settings.filePath = chosen;
    return true;
}

bool GetInfo::cmdSave_Click(const ConnectionBoxes& boxes) {
    if (!SaveLocal(boxes))
        return false;
    m_dialogs.message("Saved to " + m_settings.filePath);
    return true;
}

void GetInfo::cmdLogin_Click(const ConnectionBoxes& boxes) {
    m_settings.userName = text::trim(boxes.userName);
    m_settings.password = text::trim(boxes.password);
    m_settings.domain = text::trim(boxes.domain);
    m_settings.hostAddress = text::trim(boxes.hostAddress);
    m_settings.stationNumber = text::trim(boxes.station);
    if (m_settings.domain.empty())
        m_settings.domain = ".";
}

} // namespace station
