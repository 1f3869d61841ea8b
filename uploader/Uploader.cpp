#include "uploader/Uploader.h"

#include "core/Text.h"

#include <algorithm>
#include <filesystem>

namespace station {

namespace {

/// Marks the window busy for the length of one handler; a handler entered meanwhile (from the
/// events that run while a transfer waits) does nothing.
class Busy {
public:
    explicit Busy(bool& flag) : m_flag(flag), m_entered(!flag) { m_flag = true; }
    ~Busy() {
        if (m_entered)
            m_flag = false;
    }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;
    bool entered() const { return m_entered; }

private:
    bool& m_flag;
    bool m_entered;
};

std::string pathIn(const std::string& folder, const std::string& name) {
    const std::filesystem::path path = std::filesystem::path(reinterpret_cast<const char8_t*>(folder.c_str())) /
                                       std::filesystem::path(reinterpret_cast<const char8_t*>(name.c_str()));
    const auto text = path.u8string();
    return std::string(text.begin(), text.end());
}

} // namespace

std::string remoteFolder(std::string_view storeCode) {
    const std::string chain(storeCode.substr(0, 5));
    const std::string code(storeCode);
    if (storeCode.size() >= 4 && storeCode.substr(storeCode.size() - 4) == "0000")
        return "reports/" + chain + "/" + code + "/excel";
    return "uploads/" + chain + "/" + code;
}

std::string uploaderCaption(const StoreEntry& store) {
    return "Upload Data to " + store.storeName + " - " + store.serialNumber;
}

std::string progressText(std::uint64_t done, std::uint64_t total) {
    return std::to_string(done) + "  of " + std::to_string(total);
}

Uploader::Uploader(std::unique_ptr<FtpClient> ftp, std::string ftpHost, const StationState& state,
                   const ServiceClient& service, Dialogs& dialogs, Yield& yield, UploaderView& view)
    : m_ftp(std::move(ftp)), m_ftpHost(std::move(ftpHost)), m_state(state), m_service(service), m_dialogs(dialogs),
      m_yield(yield), m_view(view) {}

void Uploader::setStore(int index) {
    if (index == m_store)
        return;
    m_store = index;
    // The session works in the old store's folder: the next operation logs in for the new one.
    if (m_ftp->isConnected())
        m_ftp->disconnect();
}

std::optional<std::string> Uploader::Form_Activate(const std::string& shownFolder) {
    std::optional<std::string> move;
    {
        const Busy busy(m_busy);
        if (!busy.entered())
            return std::nullopt;
        readSavedFolder();
        if (m_saved && m_saved->record == UploadFolder::noRecord)
            writeSavedFolder(shownFolder);
        else if (m_saved && !m_saved->folder.empty() && m_saved->folder != text::toWire(shownFolder))
            move = text::fromWire(m_saved->folder);
    }
    cmdRefresh_Click();
    return move;
}

bool Uploader::differsFromSaved(const std::string& shownFolder) const {
    return !m_saved || text::toWire(shownFolder) != m_saved->folder;
}

void Uploader::cmdSavePath_Click(const std::string& shownFolder) {
    const Busy busy(m_busy);
    if (busy.entered())
        writeSavedFolder(shownFolder);
}

void Uploader::readSavedFolder() {
    // A failed request leaves everything as it was.
    const auto reply = m_service.uploadFolder(m_state.stationId);
    if (reply)
        m_saved = *reply;
}

void Uploader::writeSavedFolder(const std::string& folder) {
    m_service.saveUploadFolder(m_saved.value_or(UploadFolder{}), m_state.stationId, text::trim(text::toWire(folder)));
    // The service numbers a new record itself: read it back so that the next save updates it.
    readSavedFolder();
}

bool Uploader::ftpFailed() {
    m_dialogs.message(m_ftp->lastError());
    return false;
}

bool Uploader::connect() {
    if (m_ftp->isConnected())
        return true;
    const auto& store = m_state.stores.at(static_cast<std::size_t>(m_store));
    m_view.setCaption(text::fromWire(uploaderCaption(store)));
    if (!m_ftp->login(m_ftpHost, ftpUser, ftpPassword))
        return ftpFailed();
    if (!m_ftp->changeFolder(remoteFolder(store.serialNumber))) {
        ftpFailed();
        // Logged in but outside the store's folder: the next operation starts again.
        m_ftp->disconnect();
        return false;
    }
    return true;
}

bool Uploader::reconnectIfNeeded() {
    return m_ftp->isConnected() || connect();
}

void Uploader::cmdRefresh_Click() {
    const Busy busy(m_busy);
    if (busy.entered() && connect())
        ftpDir();
}

void Uploader::ftpDir() {
    if (!m_ftp->isConnected())
        return;
    auto names = m_ftp->list(listArgument);
    if (!m_ftp->lastError().empty()) {
        ftpFailed();
        return;
    }
    m_remote = std::move(names);
    m_view.showRemote(m_remote);
}

bool Uploader::deleteRemote(const std::string& name) {
    if (!reconnectIfNeeded())
        return false;
    return m_ftp->remove(name) || ftpFailed();
}

void Uploader::cmdTransfer_Click(const std::string& folder, const std::vector<std::string>& selected) {
    const Busy busy(m_busy);
    if (!busy.entered())
        return;
    const FtpClient::Progress progress = [this](bool transferring, std::uint64_t done, std::uint64_t total) {
        if (transferring) {
            m_view.showProgress(progressText(done, total), false);
            m_yield.yield();
        } else {
            m_view.showProgress({}, true);
        }
    };
    for (const auto& name : selected) {
        // Names travel as the server lists them (UTF-8), not in the service's code page.
        const std::string& remoteName = name;
        // Only an entry of exactly the same name is the same file: the server tells letters apart.
        if (std::find(m_remote.begin(), m_remote.end(), remoteName) != m_remote.end()) {
            const auto answer =
                m_dialogs.message("File already exist on remote store.  Delete the remote file?",
                                  Dialogs::Icon::Question, Dialogs::Buttons::OkCancel, std::string("Delete File?"));
            if (answer != Dialogs::Answer::Ok)
                continue;
            if (!deleteRemote(remoteName))
                return;
        }
        if (!reconnectIfNeeded())
            return;
        if (!m_ftp->store(pathIn(folder, name), remoteName, progress)) {
            m_view.showProgress({}, true);
            ftpFailed();
            return;
        }
        m_view.unselect(name);
    }
    ftpDir();
}

void Uploader::List2_DblClick(const std::string& name) {
    const Busy busy(m_busy);
    if (!busy.entered())
        return;
    const auto answer =
        m_dialogs.message("Delete this file from the remote store? \r\n" + name + " ?", Dialogs::Icon::Question,
                          Dialogs::Buttons::YesNo, std::string("Delete Remote file"));
    if (answer != Dialogs::Answer::Yes)
        return;
    if (deleteRemote(name))
        ftpDir();
}

} // namespace station
