#pragma once
#include "platform/Ports.h"
#include "platform/StationConfig.h"
#include "service/ServiceClient.h"
#include "shell/ListSort.h"
#include "shell/StationController.h"
#include "shell/StationView.h"

#include <QMainWindow>
#include <QPointer>

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

class frmAbout;
class frmGetInfo;
class frmDisplayPole;
class frmHelpdesk;
class frmUploader;

/// The main window: store list, toolbar, tray icon, status bar and the supervision timer. What
/// happens when is the controller's; this window shows it and hands its events over.
class frmTerminal : public QMainWindow, private StationView {
    Q_OBJECT
public:
    frmTerminal(Ports& ports, const StationConfig& config, const ServiceClient& service, QWidget* parent = nullptr);
    ~frmTerminal() override;

    /// Builds the shared state and fills the window. False when the program must end (another
    /// copy runs); the window has then shown its message and must not be shown.
    bool Form_Load();
    /// Tray "Exit": stops the timer, writes the settings back and closes the settings.
    void Form_Unload();

    StationState& state() { return m_controller.state(); }

    // Handlers and commands, by the names the station knows them.
    void connectStore(int row) { m_controller.connectStore(row); }
    void EntryLine(int row, bool on, const std::string& message = {}) { m_controller.EntryLine(row, on, message); }
    void changeFonts(int size) { m_controller.changeFonts(size); }
    void sendWinsock(const std::string& strdata) { m_controller.sendWinsock(strdata); }
    void Timer1_Timer() { m_controller.tick(); }
    void doUploader() { m_controller.doUploader(); }
    void doTools() { m_controller.doTools(); }
    void doHelpdesk() { m_controller.doHelpdesk(); }
    void doAbout() { m_controller.doAbout(); }
    void doReports() { m_controller.doReports(); }
    void SortListView(int column);
    /// "Get External Data": the sign-on values and connection files (Ctrl+G on this window, and
    /// an item of the Tools drop-down and of the tray menu).
    void openGetInfo() override;

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

protected:
    void closeEvent(QCloseEvent* event) override;
    bool event(QEvent* event) override;

private:
    void buildControls();
    void buildToolbar();
    void buildTray();

    // StationView
    std::string panelText() const override;
    void setPanelText(const std::string& text) override;
    void setPanelToolTip(const std::string& text) override;
    void showPanel() override;
    void showPole() override;
    void setPoleLine(int index, const std::string& text) override;
    void setCaption(const std::string& text) override;
    void showLoading() override;
    void setFontMenu(const std::vector<std::string>& items) override;
    void setUploaderMenu(const std::vector<StoreRow>& stores) override;
    void showStoreRows(const std::vector<StoreRow>& rows) override;
    void setPanel(Panel panel, const std::string& text) override;
    int rowCount() const override;
    bool rowBold(int row) const override;
    void markRow(int row, bool bold, const std::string& status) override;
    void setConnectEnabled(bool enabled) override;
    bool trayAvailable() const override;
    void hideWindow() override;
    void minimiseWindow() override;
    void raiseWindow() override;
    void restoreWindow() override;
    void setTimerEnabled(bool enabled) override;
    void openUploader(int store) override;
    void openHelpdesk() override;
    void openAbout() override;
    void runPrinterSetup() override;
    void showProgress() override;
    bool progressVisible() const override;
    void setProgress(int minimum, int maximum, int value) override;
    void endProgram() override;

    StationController m_controller;
    ListSort m_sort;
    bool m_unloading = false;
    // Helpdesk, uploader and about box: the windows opened from the main window's commands.
    Ports& m_ports;
    const ServiceClient& m_service;
    std::string m_ftpHost;
    QPointer<frmHelpdesk> m_helpdesk;
    QPointer<frmAbout> m_about;
    QPointer<frmUploader> m_uploader;
    QPointer<frmDisplayPole> m_pole;
    QPointer<frmGetInfo> m_getInfo;
};

} // namespace station
