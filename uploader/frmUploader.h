#pragma once
#include "core/StationState.h"
#include "platform/Ports.h"
#include "service/ServiceClient.h"
#include "uploader/Uploader.h"

#include <QDialog>
#include <memory>

class QComboBox;
class QLabel;
class QListWidget;
class QListWidgetItem;
class QPushButton;

namespace station {

/// Sends files from a folder of the station to the chosen store's folder on the FTP server.
class frmUploader : public QDialog, private UploaderView {
    Q_OBJECT
public:
    frmUploader(StationState& state, Ports& ports, const ServiceClient& service, const std::string& ftpHost,
                int storeIndex, QWidget* parent = nullptr);
    ~frmUploader() override;

    /// The store whose files the window uploads: the drop-down may pick another while it is open.
    int storeIndex() const { return m_storeIndex; }
    void setStoreIndex(int storeIndex);

    /// The folder shown in Dir1 (UTF-8, the system's separators, as it is saved); moving it
    /// refills List1.
    std::string folder() const;
    void Dir1_Change(const QString& folder);
    void cmdRefresh_Click();
    void cmdTransfer_Click();
    void cmdSavePath_Click();
    void cmdExit_Click();
    void List2_DblClick(QListWidgetItem* item);

    QComboBox* Drive1 = nullptr;
    QListWidget* Dir1 = nullptr;
    QLabel* lblFolder = nullptr;
    QListWidget* List1 = nullptr;
    QListWidget* List2 = nullptr;
    QLabel* Label3 = nullptr;
    QPushButton* cmdRefresh = nullptr;
    QPushButton* cmdTransfer = nullptr;
    QPushButton* cmdSavePath = nullptr;
    QPushButton* cmdExit = nullptr;

    /// Closing is refused while a file is being sent (cmdExit is disabled then too); asked for
    /// while the window waits on a server, it closes when the wait is over.
    void reject() override;
    /// Opening activates the window once it is on the screen at its size: the activation waits
    /// on the service and the FTP server, and the window is to be seen meanwhile.
    void setVisible(bool visible) override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    // UploaderView
    void setCaption(const std::string& text) override;
    void showRemote(const std::vector<std::string>& names) override;
    void showProgress(const std::string& text, bool exitEnabled) override;
    void unselect(const std::string& name) override;

    void fillFolders();
    /// After a handler: closes the window when a close was asked for while it ran.
    void closeIfDue();

    int m_storeIndex;
    QString m_folder;
    Uploader m_uploader;
};

} // namespace station
