#include "host/HostChannel.h"

#include "core/Text.h"
#include "host/HostCommands.h"

namespace station {

HostChannel::HostChannel(StationState& state, HostSocket& socket, Dialogs& dialogs, Yield& yield, ChannelView& view,
                         ReportPrinter printReport)
    : m_state(state), m_socket(socket), m_dialogs(dialogs), m_yield(yield), m_view(view),
      m_printReport(std::move(printReport)) {}

HostChannel::~HostChannel() {
    if (m_attached)
        m_socket.setEvents({});
}

void HostChannel::attach() {
    m_attached = true;
    m_socket.setEvents({
        [this] { connected(); },
        [this] { closed(); },
        [this](const std::string& data) { received(data); },
        [this](const std::string& description) { error(description); },
    });
}

void HostChannel::sendWinsock(const std::string& data) {
    if (m_socket.isConnected())
        m_socket.send(data);
    else
        m_state.reconnectPending = true;
}

void HostChannel::redialStep() {
    if (!m_state.reconnectPending)
        return;
    const auto& list = m_state.serverList;
    if (list.empty())
        return;
    m_socket.close();
    if (m_state.serverIndex < 0 || static_cast<std::size_t>(m_state.serverIndex) >= list.size())
        m_state.serverIndex = 0;
    const auto host = list[static_cast<std::size_t>(m_state.serverIndex)];
    ++m_state.serverIndex;
    if (static_cast<std::size_t>(m_state.serverIndex) >= list.size())
        m_state.serverIndex = 0;
    m_socket.connectTo(host, m_state.channelPort);
    m_state.reconnectPending = false;
}

void HostChannel::connected() {
    m_state.reconnectPending = false;
    m_view.setPanelText("Open " + m_socket.remoteHost());
}

void HostChannel::closed() {
    m_view.setPanelText("closed");
    m_yield.yield();
    m_socket.close();
    // The next tick dials the next address of the list, not this one again.
    m_state.reconnectPending = true;
}

void HostChannel::error(const std::string& description) {
    if (const auto text = m_view.panelText(); !text.starts_with('*'))
        m_view.setPanelText("*" + text);
    m_view.setPanelToolTip(description);
    m_view.showPanel();
    if (!m_socket.isConnected())
        m_state.reconnectPending = true;
}

void HostChannel::received(std::string_view data) {
    // Pending window events run in the middle of each command and may bring the next read in:
    // the commands of this read are held in a copy of their own.
    const std::string copy(data);
    for (const auto command : splitCommands(copy)) {
        // A read taken while another command runs finds the panel at "*" already: only the
        // outermost command keeps and gives back the panel's own text.
        const bool outermost = m_running++ == 0;
        if (outermost) {
            m_panelBefore = m_view.panelText();
            m_view.setPanelText("*");
        }
        m_yield.yield();
        try {
            run(command);
        } catch (const std::exception&) {
            // A command that fails ends quietly; nothing goes back to the host.
        }
        if (--m_running == 0)
            m_view.setPanelText(m_panelBefore);
        m_yield.yield();
    }
}

void HostChannel::run(std::string_view command) {
    switch (commandKind(command)) {
    case HostCommandKind::Display:
        showOnPole(command);
        break;
    case HostCommandKind::Request:
        sendWinsock("/L=" + m_state.stationId);
        break;
    case HostCommandKind::Poll:
        break;
    case HostCommandKind::Print:
        if (const auto request = reportRequest(command))
            m_printReport(request->storeId, request->reportName);
        break;
    case HostCommandKind::Message:
        m_dialogs.message(text::fromWire(commandPayload(command)), Dialogs::Icon::Exclamation, Dialogs::Buttons::Ok,
                          std::string("Message from Server"));
        break;
    case HostCommandKind::Other:
        break;
    }
}

bool HostChannel::poleInUse() const {
    // Compared as it stands: "test pole" in other letter case is no pole.
    return m_state.settings.device("prt3") == "Test Pole";
}

void HostChannel::showOnPole(std::string_view command) {
    if (!poleInUse())
        return;
    m_view.showPole();
    const auto lines = displayLines(command);
    for (std::size_t i = 0; i < lines.size() && i < 2; ++i) {
        if (!poleInUse())
            continue;
        m_view.setPoleLine(static_cast<int>(i), {});
        m_view.setPoleLine(static_cast<int>(i), text::fromWire(lines[i]));
        m_yield.yield();
    }
}

} // namespace station
