#include "uploader/Uploader.h"

#include "core/Text.h"

#include <algorithm>
#include <filesystem>
#include <functional>

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

bool sameFolder(std::string_view a, std::string_view b) {
    const auto separator = [](char c) { return c == '/' || c == '\\'; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return x == y || (separator(x) && separator(y)); });
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
    m_remoteKnown = false;
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
        else if (m_saved && !m_saved->folder.empty() && !sameFolder(m_saved->folder, text::toWire(shownFolder)))
            move = text::fromWire(m_saved->folder);
    }
    cmdRefresh_Click();
    return move;
}

Uploader::Close Uploader::requestClose() {
    if (!m_busy)
        return Close::Now;
    if (m_sending)
        return Close::Refused;
    // A listing, a log-in or a service request: the window closes once it is over.
    m_closeKept = true;
    return Close::WhenDone;
}

bool Uploader::takeDueClose() {
    if (m_busy || !m_closeKept)
        return false;
    m_closeKept = false;
    return true;
}

bool Uploader::differsFromSaved(const std::string& shownFolder) const {
    return !m_saved || !sameFolder(text::toWire(shownFolder), m_saved->folder);
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
    // What was listed before is gone; a listing that fails shows nothing rather than old names.
    m_remote.clear();
    m_remoteKnown = false;
    m_view.showRemote(m_remote);
    // Several servers take "-lr *.*" for a path and refuse it: they still answer the plain forms.
    const std::function<std::vector<std::string>()> listings[] = {
        [this] { return m_ftp->list(listArgument); },
        [this] { return m_ftp->list({}); },
        [this] { return m_ftp->nameList(); },
    };
    for (const auto& listing : listings) {
        auto names = listing();
        if (m_ftp->lastError().empty()) {
            m_remote = std::move(names);
            m_remoteKnown = true;
            m_view.showRemote(m_remote);
            return;
        }
        // A line that broke is not a refusal: the next operation logs in again.
        if (!m_ftp->isConnected())
            break;
    }
    ftpFailed();
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
        const auto send = mayOverwrite(remoteName);
        if (send == Send::Stop)
            return;
        if (send == Send::Skip)
            continue;
        if (!reconnectIfNeeded())
            return;
        m_sending = true;
        const bool stored = m_ftp->store(pathIn(folder, name), remoteName, progress);
        m_sending = false;
        if (!stored) {
            m_view.showProgress({}, true);
            ftpFailed();
            return;
        }
        m_view.unselect(name);
    }
    ftpDir();
}

Uploader::Send Uploader::mayOverwrite(const std::string& name) {
    if (!m_remoteKnown) {
        // The folder could not be listed: a file of this name may be there, and would be lost.
        const auto answer =
            m_dialogs.message("The files on the remote store could not be listed, so " + name +
                                  " may be there already.  Send it and overwrite the remote file?",
                              Dialogs::Icon::Question, Dialogs::Buttons::OkCancel, std::string("Overwrite File?"));
        return answer == Dialogs::Answer::Ok ? Send::Yes : Send::Skip;
    }
    // Only an entry of exactly the same name is the same file: the server tells letters apart.
    if (std::find(m_remote.begin(), m_remote.end(), name) == m_remote.end())
        return Send::Yes;
    const auto answer =
        m_dialogs.message("File already exist on remote store.  Delete the remote file?", Dialogs::Icon::Question,
                          Dialogs::Buttons::OkCancel, std::string("Delete File?"));
    if (answer != Dialogs::Answer::Ok)
        return Send::Skip;
    return deleteRemote(name) ? Send::Yes : Send::Stop;
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
