#pragma once
#include "core/StationState.h"
#include "platform/Ports.h"
#include "platform/StationConfig.h"
#include "service/ServiceClient.h"
#include "shell/ListSort.h"
#include "shell/TickCounter.h"

#include <QMainWindow>
#include <QPointer>
#include <map>

class QFrame;
class QLabel;
class QMenu;
class QProgressBar;
class QSystemTrayIcon;
class QTimer;
class QToolButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace station {

class frmHelpdesk;
class frmAbout;
class frmUploader;

/// The main window: store list, toolbar, tray icon, status bar and the supervision timer. It owns
/// the station's shared state for the whole run.
class frmTerminal : public QMainWindow {
    Q_OBJECT
public:
    frmTerminal(Ports& ports, const StationConfig& config, const ServiceClient& service, QWidget* parent = nullptr);
    ~frmTerminal() override;

    /// Builds the shared state and fills the window. False when the program must end (another
    /// copy runs); the window has then shown its message and must not be shown.
    bool Form_Load();
    /// Tray "Exit": stops the timer, writes the settings back and closes the settings.
    void Form_Unload();

    StationState& state() { return m_state; }

    // Station commands.
    void connectStore(int row);
    void doUploader();
    void doTools();
    void doHelpdesk();
    void doAbout();
    void doReports();
    void getStoreList();
    void SortListView(int column);
    /// Hook for loading or saving default settings; deliberately does nothing.
    void GetDefaultSettings(bool saveDefaults = false);

    // Telnet client session and settings synchronisation (frmTerminalSession.cpp).
    void EntryLine(int row, bool on, const std::string& message = {});
    void changeFonts(int size);
    void Timer1_Timer();

    // Host command channel (frmTerminalChannel.cpp).
    void sendWinsock(const std::string& data);

    // Controls, named as the rest of the station knows them.
    QTreeWidget* ListView1 = nullptr;
    QFrame* Frame1 = nullptr;
    QProgressBar* ProgressBar1 = nullptr;
    QTimer* Timer1 = nullptr;
    QSystemTrayIcon* cSysTray1 = nullptr;
    QMenu* mnuPopup = nullptr;
    QToolButton* button(const QString& key) const;
    QMenu* buttonMenu(const QString& key) const;
    QLabel* panel(const QString& key) const;
    QTreeWidgetItem* rowByKey(const std::string& key) const;

signals:
    /// A store row was chosen for a connection.
    void connectRequested(int row);
    void ticked();

protected:
    void closeEvent(QCloseEvent* event) override;
    bool event(QEvent* event) override;

private:
    void buildControls();
    void buildToolbar();
    void buildTray();
    void fillStoreRows();
    void showUploader(int store);
    void Toolbar1_ButtonClick(const QString& key);
    void Toolbar1_ButtonMenuClick(QToolButton* owner, int itemIndex, const QString& itemText, const QString& itemKey);
    void whatsSupported();
    void setStatus(const QString& key, const std::string& text);

    // --- session section (frmTerminalSession.cpp) ---
    void loadSettings();
    void writeSettings();
    void superviseClientWindows();
    void storeMaintenancePoll();
    void CheckProgramUpdates();
    /// The activation hook: a running client comes forward with the station window.
    void bringClientForward();
    /// "upd1=": the base address of this station's updates, empty when there is none.
    std::string updateAddress();
    /// Whether store row `row` is shown as connected (bold).
    bool rowConnected(int row) const;
    TickCounter m_ticks;
    // --- end of session section ---

    // --- channel section (frmTerminalChannel.cpp) ---
    void redialStep();
    /// Arms the host channel: routes the socket's events to the channel logic.
    void setUpChannel();
    /// The channel logic with its view on this window and the pole display; shared_ptr because
    /// only frmTerminalChannel.cpp knows the type.
    struct Channel;
    std::shared_ptr<Channel> m_channel;
    // --- end of channel section ---

    Ports& m_ports;
    StationConfig m_config;
    const ServiceClient& m_service;
    StationState m_state;
    ListSort m_sort;
    std::string m_updateBaseUrl;
    bool m_unloading = false;
    std::map<QString, QToolButton*> m_buttons;
    std::map<QString, QLabel*> m_panels;
    QPointer<frmHelpdesk> m_helpdesk;
    QPointer<frmAbout> m_about;
    QPointer<frmUploader> m_uploader;
};

} // namespace station
