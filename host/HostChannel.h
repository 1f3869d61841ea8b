#pragma once
// The line to the store host: dialling round the address list, the host's commands and the
// station's answers.
#include "core/StationState.h"
#include "platform/Dialogs.h"
#include "platform/HostSocket.h"
#include "platform/Yield.h"

#include <functional>
#include <string>
#include <string_view>

namespace station {

/// What the channel shows on the main window: the connection panel of the status bar and the
/// on-screen pole display. Implemented by the window; texts are UTF-8.
class ChannelView {
public:
    virtual ~ChannelView() = default;
    virtual std::string panelText() const = 0;
    virtual void setPanelText(const std::string& text) = 0;
    virtual void setPanelToolTip(const std::string& text) = 0;
    virtual void showPanel() = 0;
    /// Loads and shows the pole display window unless it is loaded already.
    virtual void showPole() = 0;
    /// Writes line 0 or 1 of the pole display.
    virtual void setPoleLine(int index, const std::string& text) = 0;
};

class HostChannel {
public:
    /// Prints a report for the host (store id, report name).
    using ReportPrinter = std::function<void(const std::string& storeId, const std::string& reportName)>;

    HostChannel(StationState& state, HostSocket& socket, Dialogs& dialogs, Yield& yield, ChannelView& view,
                ReportPrinter printReport);
    /// Takes the socket's events back, so none reaches a channel that is gone.
    ~HostChannel();
    HostChannel(const HostChannel&) = delete;
    HostChannel& operator=(const HostChannel&) = delete;

    /// Routes the socket's events to this channel.
    void attach();

    /// Sends `data` as it stands when the line is up; otherwise drops it and asks for a redial.
    void sendWinsock(const std::string& data);
    /// On each supervision tick: dials the next address of the list when a redial is pending.
    void redialStep();

    // Socket events.
    void connected();
    void closed();
    void received(std::string_view data);
    void error(const std::string& description);

    /// Runs one command (with its leading "/").
    void run(std::string_view command);

private:
    void showOnPole(std::string_view command);
    bool poleInUse() const;

    StationState& m_state;
    HostSocket& m_socket;
    Dialogs& m_dialogs;
    Yield& m_yield;
    ChannelView& m_view;
    ReportPrinter m_printReport;
    bool m_attached = false;
    int m_running = 0;         ///< commands running now, counting those of reads taken inside another
    std::string m_panelBefore; ///< the panel's text before the outermost command, given back after it
};

} // namespace station
