// The main window's telnet client session: connecting a store, supervising the client's window
// on every tick, and the settings requests that go with them.
#include "shell/frmTerminal.h"

#include <QTimer>

namespace station {

void frmTerminal::connectStore(int row) {
    (void)m_state.stores.at(static_cast<std::size_t>(row));
    emit connectRequested(row);
}

void frmTerminal::EntryLine(int, bool, const std::string&) {}

void frmTerminal::changeFonts(int) {}

void frmTerminal::loadSettings() {}

void frmTerminal::writeSettings() {}

void frmTerminal::superviseClientWindows() {}

void frmTerminal::storeMaintenancePoll() {}

void frmTerminal::CheckProgramUpdates() {}

void frmTerminal::bringClientForward() { raise(); }

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
