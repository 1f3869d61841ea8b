#pragma once
// What the uploader window does: the store's remote folder, the FTP session and its listing, the
// transfer with its overwrite question, deleting, the progress text and the saved upload folder.
#include "core/StationState.h"
#include "platform/Dialogs.h"
#include "platform/FtpClient.h"
#include "platform/Yield.h"
#include "service/ServiceClient.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace station {

/// The store's folder on the FTP server: chain-level codes (ending in "0000") keep their files
/// under reports/, every other store under uploads/.
std::string remoteFolder(std::string_view storeCode);

/// "Upload Data to " name " - " code.
std::string uploaderCaption(const StoreEntry& store);

/// Whether two local folders are the same: Windows folders are shown with "\\" and may reach
/// the program with "/", so the two separators count as one.
bool sameFolder(std::string_view a, std::string_view b);

/// "done  of total", the progress text of a running upload.
std::string progressText(std::uint64_t done, std::uint64_t total);

inline constexpr const char* ftpUser = "administrator";
inline constexpr const char* ftpPassword = "lantern";
inline constexpr const char* listArgument = "-lr *.*";

/// What the window shows; texts are UTF-8.
class UploaderView {
public:
    virtual ~UploaderView() = default;
    virtual void setCaption(const std::string& text) = 0;
    /// The remote folder's entries (List2).
    virtual void showRemote(const std::vector<std::string>& names) = 0;
    /// The progress text (Label3) and whether the window may be closed meanwhile (cmdExit).
    virtual void showProgress(const std::string& text, bool exitEnabled) = 0;
    /// Clears the selection of a local file once it has been sent.
    virtual void unselect(const std::string& name) = 0;
};

class Uploader {
public:
    Uploader(std::unique_ptr<FtpClient> ftp, std::string ftpHost, const StationState& state,
             const ServiceClient& service, Dialogs& dialogs, Yield& yield, UploaderView& view);

    /// The store (0 to 299) whose folder the window works in; a new store logs in afresh.
    void setStore(int index);

    /// Window activation: the saved folder (the one to show, when it differs from `shownFolder`),
    /// then the connection and the remote listing.
    std::optional<std::string> Form_Activate(const std::string& shownFolder);
    /// Whether `shownFolder` differs from the saved one, so that saving it means something.
    bool differsFromSaved(const std::string& shownFolder) const;
    /// Saves `shownFolder`, trimmed, as this station's upload folder.
    void cmdSavePath_Click(const std::string& shownFolder);

    /// Logs in when the session is not connected, then lists the remote folder.
    void cmdRefresh_Click();
    /// Lists the remote folder when connected: "-lr *.*" first, then the plainer listings that
    /// servers which take the options for a path still answer.
    void ftpDir();
    /// Sends the selected files of `folder` (their names, in list order).
    void cmdTransfer_Click(const std::string& folder, const std::vector<std::string>& selected);
    /// Deletes a remote file after asking.
    void List2_DblClick(const std::string& name);

    /// What a request to close the window gets: closed at once when nothing runs; refused while a
    /// file is being sent (the upload would be cut off halfway); otherwise kept, and due as soon
    /// as the running handler has ended (takeDueClose).
    enum class Close { Now, Refused, WhenDone };
    Close requestClose();
    /// Whether a kept request to close has come due: nothing runs any more. Asking clears it.
    bool takeDueClose();

    const std::vector<std::string>& remoteEntries() const { return m_remote; }
    /// Whether the remote entries are the folder's as last listed, not a listing that failed.
    bool remoteKnown() const { return m_remoteKnown; }

private:
    bool connect();
    bool reconnectIfNeeded();
    bool deleteRemote(const std::string& name);
    /// Whether `name` may be sent: asks first when it is there already, or when nobody knows.
    enum class Send { Yes, Skip, Stop };
    Send mayOverwrite(const std::string& name);
    /// Shows the FTP client's own description of what went wrong; false for the caller to stop.
    bool ftpFailed();
    void readSavedFolder();
    void writeSavedFolder(const std::string& folder);

    std::unique_ptr<FtpClient> m_ftp;
    std::string m_ftpHost;
    const StationState& m_state;
    const ServiceClient& m_service;
    Dialogs& m_dialogs;
    Yield& m_yield;
    UploaderView& m_view;
    int m_store = 0;
    std::vector<std::string> m_remote;
    bool m_remoteKnown = false;
    std::optional<UploadFolder> m_saved;
    bool m_busy = false;
    bool m_sending = false;
    bool m_closeKept = false;
};

} // namespace station
