#include "shell/StationController.h"

#include "BuildConfig.h"
#include "config/SettingsSync.h"
#include "core/ProgramVersion.h"
#include "core/StartupTrace.h"
#include "core/Text.h"
#include "shell/ClientSession.h"
#include "shell/ConsoleFonts.h"
#include "shell/StoreList.h"
#include "update/UpdateRules.h"

#include <chrono>
#include <exception>

namespace station {
namespace {

// The client needs a moment to open its window before it is looked for.
constexpr std::chrono::milliseconds clientStartWait{300};

} // namespace

StationController::StationController(Ports& ports, const StationConfig& config, const ServiceClient& service,
                                     StationView& view, std::string programFolder)
    : m_ports(ports), m_config(config), m_service(service), m_view(view), m_programFolder(std::move(programFolder)),
      m_printing({service, ports.http, ports.textPrinter, ports.spooler, ports.dialogs}, m_config.reportsUrl),
      m_channel(m_state, ports.hostSocket, ports.dialogs, ports.yield, view,
                [this](const std::string& storeId, const std::string& reportName) {
                    m_printing.printReport(storeId, reportName, [this] { return m_state.settings.device("prt2"); });
                }),
      m_updates(service, ports, m_updateWindow,
                {m_programFolder, versionText(build::versionMajor, build::versionMinor), m_config.updatePublicKey,
                 m_config.userFolder}) {}

bool StationController::load() {
    if (!m_ports.singleInstance.acquire()) {
        m_ports.dialogs.message("Sorry, you can only run one copy of the VORNEOnline Terminal program");
        return false;
    }
    m_view.setCaption("VORNE Terminal Version " + programVersion());
    m_view.showLoading();
    m_ports.yield.yield();
    // Up to the settings load, a failing step is skipped and the window still opens.
    try {
        std::vector<std::string> fonts;
        for (const auto& font : whatsSupported())
            fonts.push_back(consoleFontMenuText(font));
        m_view.setFontMenu(fonts);
        getStoreList();
    } catch (const std::exception& e) {
        m_view.setPanel(StationView::Panel::Message, e.what());
    }
    m_state.settings.open();
    try {
        loadSettings();
    } catch (const std::exception& e) {
        m_view.setPanel(StationView::Panel::Message, e.what());
    }
    startupMark("prt= answered");

    m_view.setTimerEnabled(true);
    m_view.setPanelText("Closed");
    m_state.serverList = text::split(m_config.serverList, ',');
    m_state.serverIndex = 0;
    m_state.channelPort = 47000;
    // The first tick dials.
    m_state.reconnectPending = true;
    m_channel.attach();
    return true;
}

void StationController::unload() {
    m_view.setTimerEnabled(false);
    GetDefaultSettings(true);
    writeSettings();
    m_state.settings.close();
}

void StationController::GetDefaultSettings(bool) {}

void StationController::getStoreList() {
    const auto reply = fetchStoreList(m_service, m_ports.adapters, m_ports.yield, m_state, programVersion());
    startupMark("mac= and updlast= answered");
    const auto rows = storeRows(m_state.stores);
    if (reply && reply->hasData)
        m_view.setUploaderMenu(rows);
    if (const auto notice = storeListNotice(reply); !notice.empty())
        m_view.setPanel(StationView::Panel::Message, notice);
    m_view.showStoreRows(rows);
    startupMark("rows filled");
}

void StationController::loadSettings() {
    SettingsSync(m_service, m_ports.adapters, m_ports.clock, m_state).loadSettings();
}

void StationController::writeSettings() {
    SettingsSync(m_service, m_ports.adapters, m_ports.clock, m_state).writeSettings();
}

void StationController::storeMaintenancePoll() {
    SettingsSync(m_service, m_ports.adapters, m_ports.clock, m_state).storeMaintenancePoll();
}

void StationController::tick() {
    m_ticks.begin();
    superviseClientWindows();
    m_channel.redialStep();
    if (m_ticks.keepAliveDue())
        sendWinsock("/P=");
    if (m_ticks.periodicJobsDue()) {
        // Off while the long jobs run, so ticks do not pile up behind them.
        m_view.setTimerEnabled(false);
        storeMaintenancePoll();
        m_updates.CheckProgramUpdates(m_state.stationId);
        if (m_updates.ended())
            return;
        m_view.setTimerEnabled(true);
        m_ticks.periodicJobsDone();
    }
}

void StationController::superviseClientWindows() {
    const auto rows =
        std::min<std::size_t>(static_cast<std::size_t>(std::max(m_view.rowCount(), 0)), StoreTable::capacity);
    for (std::size_t i = 0; i < rows; ++i) {
        const auto row = static_cast<int>(i);
        auto& entry = m_state.stores.at(i);
        // The client's title carries the host it was started for, which may be the settings' one.
        m_state.clientWindow =
            m_ports.clientWindows.findByTitle(text::fromWire(connectedTitle(signOnEntry(entry, m_state.connection))));
        const auto decision = superviseRow(entry, m_state.clientWindow != 0, m_view.rowBold(row));
        for (const auto& mark : decision.marks)
            EntryLine(row, mark.on, mark.message);
        if (decision.disableConnect)
            m_view.setConnectEnabled(false);
        if (decision.enableConnect) {
            m_view.setConnectEnabled(true);
            m_view.restoreWindow();
        }
        m_ports.yield.yield();
    }
}

void StationController::connectStore(int row) {
    auto& entry = m_state.stores.at(static_cast<std::size_t>(row));
    // What the entry lacks, the operator's connection settings may supply.
    const auto signOn = signOnEntry(entry, m_state.connection);
    const auto missing = missingItems(signOn);
    const auto refusal = refusalText(entry, m_view.rowBold(row));
    if (!missing.empty()) {
        m_ports.dialogs.message(missingItemsMessage(missing), Dialogs::Icon::Critical, Dialogs::Buttons::Ok,
                                "Can Not login, missing information");
        return;
    }
    if (!refusal.empty()) {
        m_ports.dialogs.message(refusal, Dialogs::Icon::Critical, Dialogs::Buttons::Ok, "Can Not login");
        return;
    }

    EntryLine(row, true);
    m_view.setConnectEnabled(false);
    m_view.setPanel(StationView::Panel::Connect, {});
    m_ports.yield.yield();

    const auto executable = clientExecutable(signOn);
    const auto arguments = clientArguments(signOn, m_state.settings);
    entry.connectState = 1;
    // The client gets the sign-on values as the user knows them, not as their wire bytes.
    const auto commandLine =
        clientCommandLine(m_programFolder + executable, text::fromWire(arguments), text::fromWire(entry.serialNumber));
    if (!m_ports.processLauncher.start(commandLine, ProcessLauncher::Show::Normal)) {
        // The next tick finds no client window and gives the row and the Connect button back.
        m_view.setPanel(StationView::Panel::Message, "The telnet client " + executable + " could not be started");
        return;
    }

    m_ports.yield.pause(clientStartWait);
    m_state.loginHost = signOn.clusterAddress;
    m_state.clientWindow = m_ports.clientWindows.findByTitle(text::fromWire(clientWindowTitle(signOn.clusterAddress)));
    if (m_state.clientWindow)
        m_ports.clientWindows.show(m_state.clientWindow);
    putAway();
    m_ports.yield.yield();
}

void StationController::EntryLine(int row, bool on, const std::string& message) {
    m_view.markRow(row, on, text::fromWire(rowStatusText(on, message)));
    markConnectState(m_state.stores.at(static_cast<std::size_t>(row)), on);
    m_ports.yield.yield();
}

void StationController::changeFonts(int size) {
    if (size < 0)
        return;
    m_ports.clientWindows.setConsoleFont(m_state.clientWindow, size);
}

void StationController::sendWinsock(const std::string& data) {
    m_channel.sendWinsock(data);
}

void StationController::activated() {
    if (m_state.clientWindow == 0)
        return;
    m_view.raiseWindow();
    m_ports.clientWindows.bringForward(m_state.clientWindow);
}

void StationController::closeRequested() {
    putAway();
}

void StationController::putAway() {
    if (m_view.trayAvailable())
        m_view.hideWindow();
    else
        m_view.minimiseWindow();
}

void StationController::command(std::string_view key) {
    if (key == "connect")
        connectStore(0);
    else if (key == "uploader")
        doUploader();
    else if (key == "tools")
        doTools();
    else if (key == "helpdesk")
        doHelpdesk();
    else if (key == "reports")
        doReports();
    else if (key == "about")
        doAbout();
    else if (key == "getinfo")
        m_view.openGetInfo();
}

void StationController::menuCommand(std::string_view button, int itemIndex, const std::string& itemText,
                                    const std::string& itemKey) {
    if (button == "uploader") {
        if (const auto store = storeIndexFromKey(itemKey); store >= 0)
            m_view.openUploader(store);
    } else if (button == "tools") {
        // Font sizes, then the sign-on window where users look for a tool.
        if (itemKey == "getinfo")
            m_view.openGetInfo();
        else
            changeFonts(consoleFontFromMenuText(itemText));
    } else if (button == "connect") {
        connectStore(itemIndex - 1);
    }
}

void StationController::doUploader() {
    if (m_state.stores.count() > 1) {
        m_ports.dialogs.message("You have access to more then one store, please press the down arrow next to the "
                                "button and select a single store",
                                Dialogs::Icon::Information);
        return;
    }
    m_view.openUploader(0);
}

void StationController::doTools() {
    GetDefaultSettings();
    m_view.runPrinterSetup();
    writeSettings();
}

void StationController::doHelpdesk() {
    m_view.openHelpdesk();
}

void StationController::doAbout() {
    m_view.openAbout();
}

void StationController::doReports() {
    m_ports.browser.open("http://" + m_config.backofficeHost + ":8300/ebs.cfm");
}

} // namespace station
