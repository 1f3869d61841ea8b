// The main window's telnet client session: connecting a store, supervising the client's window
// on every tick, and the settings requests that go with them. Decisions live in ClientSession
// and SettingsSync; this file reads and writes the controls.
#include "config/SettingsSync.h"
#include "core/Text.h"
#include "shell/ClientSession.h"
#include "shell/StoreList.h"
#include "shell/frmTerminal.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QLabel>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>

namespace station {
namespace {

constexpr int statusColumn = 4;
constexpr int clientStartWaitMs = 300;

SettingsSync syncOf(const ServiceClient& service, Ports& ports, StationState& state) {
    return SettingsSync(service, ports.adapters, ports.clock, state);
}

// Lets window events run while the client opens its window.
void waitWithEvents(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

bool frmTerminal::rowConnected(int row) const {
    const auto* item = rowByKey(storeRowKey(static_cast<std::size_t>(row)));
    return item && item->font(0).bold();
}

void frmTerminal::connectStore(int row) {
    auto& entry = m_state.stores.at(static_cast<std::size_t>(row));
    emit connectRequested(row);
    const auto missing = missingItems(entry);
    const auto refusal = refusalText(entry, rowConnected(row));
    m_state.loginUser = text::trim(entry.userName);
    m_state.loginHost = text::trim(entry.clusterAddress);
    m_state.loginPort = "47000";
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
    button(QStringLiteral("connect"))->setEnabled(false);
    setStatus(QStringLiteral("connect"), {});
    m_ports.yield.yield();

    const auto executable = clientExecutable(entry);
    const auto arguments = clientArguments(entry, m_state.settings);
    entry.connectState = 1;
    const auto program =
        QDir::toNativeSeparators(QCoreApplication::applicationDirPath() + QDir::separator()).toStdString() + executable;
    if (!m_ports.processLauncher.start(clientCommandLine(program, arguments, entry.serialNumber),
                                       ProcessLauncher::Show::Normal)) {
        // The next tick finds no client window and gives the row and the Connect button back.
        setStatus(QStringLiteral("message"), "The telnet client " + executable + " could not be started");
        return;
    }

    waitWithEvents(clientStartWaitMs);
    m_state.loginHost = entry.clusterAddress;
    m_state.clientWindow = m_ports.clientWindows.findByTitle(clientTitle(m_state.loginHost));
    if (m_state.clientWindow)
        m_ports.clientWindows.show(m_state.clientWindow);
    hide();
    m_ports.yield.yield();
}

void frmTerminal::EntryLine(int row, bool on, const std::string& message) {
    if (auto* item = rowByKey(storeRowKey(static_cast<std::size_t>(row)))) {
        for (int c = 0; c < item->columnCount(); ++c) {
            auto font = item->font(c);
            font.setBold(on);
            item->setFont(c, font);
        }
        item->setText(statusColumn, QString::fromStdString(rowStatusText(on, message)));
    }
    markConnectState(m_state.stores.at(static_cast<std::size_t>(row)), on);
    m_ports.yield.yield();
}

void frmTerminal::changeFonts(int size) {
    if (size < 0)
        return;
    m_ports.clientWindows.setConsoleFont(m_state.clientWindow, size);
}

void frmTerminal::loadSettings() {
    syncOf(m_service, m_ports, m_state).loadSettings();
}

void frmTerminal::writeSettings() {
    syncOf(m_service, m_ports, m_state).writeSettings();
}

std::string frmTerminal::updateAddress() {
    return syncOf(m_service, m_ports, m_state).updateAddress();
}

void frmTerminal::superviseClientWindows() {
    const auto rows =
        std::min<std::size_t>(static_cast<std::size_t>(ListView1->topLevelItemCount()), StoreTable::capacity);
    for (std::size_t i = 0; i < rows; ++i) {
        const auto row = static_cast<int>(i);
        auto& entry = m_state.stores.at(i);
        m_state.clientWindow = m_ports.clientWindows.findByTitle(connectedTitle(entry));
        const auto tick = superviseRow(entry, m_state.clientWindow != 0, rowConnected(row));
        for (const auto& mark : tick.marks)
            EntryLine(row, mark.on, mark.message);
        if (tick.disableConnect)
            button(QStringLiteral("connect"))->setEnabled(false);
        if (tick.enableConnect) {
            button(QStringLiteral("connect"))->setEnabled(true);
            setWindowState(Qt::WindowNoState);
        }
        m_ports.yield.yield();
    }
}

void frmTerminal::storeMaintenancePoll() {
    syncOf(m_service, m_ports, m_state).storeMaintenancePoll();
}

void frmTerminal::CheckProgramUpdates() {}

void frmTerminal::bringClientForward() {
    raise();
    m_ports.clientWindows.bringForward(m_state.clientWindow);
}

void frmTerminal::Timer1_Timer() {
    m_ticks.begin();
    superviseClientWindows();
    redialStep();
    if (m_ticks.keepAliveDue())
        sendWinsock("/P=");
    if (m_ticks.periodicJobsDue()) {
        // Off while the long jobs run, so ticks do not pile up behind them.
        Timer1->stop();
        storeMaintenancePoll();
        CheckProgramUpdates();
        Timer1->start();
        m_ticks.periodicJobsDone();
    }
    emit ticked();
}

} // namespace station
