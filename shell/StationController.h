#pragma once
// The station's sequencing under the main window: the load, the supervision tick, connecting a
// store, the host channel and the station's commands. It decides; the window (a StationView)
// shows. Plain C++ over the ports, so tests drive the real tick and the real connect.
#include "core/StationState.h"
#include "host/DocumentPrinting.h"
#include "host/HostChannel.h"
#include "platform/Ports.h"
#include "platform/StationConfig.h"
#include "service/ServiceClient.h"
#include "shell/StationView.h"
#include "shell/TickCounter.h"
#include "update/ProgramUpdates.h"

#include <string>
#include <string_view>

namespace station {

class StationController {
public:
    /// `programFolder` ends with the system's folder separator; the telnet clients lie there.
    StationController(Ports& ports, const StationConfig& config, const ServiceClient& service, StationView& view,
                      std::string programFolder);
    StationController(const StationController&) = delete;
    StationController& operator=(const StationController&) = delete;

    StationState& state() { return m_state; }
    Ports& ports() { return m_ports; }

    /// The main window's load: guard, caption, store list, settings, timer, host channel. False
    /// when another copy runs: the refusal was shown and the window must not be shown.
    bool load();
    /// Tray "Exit": stops the timer, writes the settings back and closes them.
    void unload();
    /// One tick of the supervision timer.
    void tick();

    /// Connects store entry `row`: checks, marks the row, starts the client and takes its window.
    void connectStore(int row);
    /// Marks entry `row` as connected or not, with an optional message in its status column.
    void EntryLine(int row, bool on, const std::string& message = {});
    /// Console font of the running client, by font index; a negative index does nothing.
    void changeFonts(int size);
    void sendWinsock(const std::string& data);

    /// The station window was activated: a running client comes forward with it.
    void activated();
    /// The close box: the window goes where the user can get it back from.
    void closeRequested();

    /// A toolbar button or tray menu item, by its key: "connect", "tools", "helpdesk", "reports",
    /// "about", "uploader" or "getinfo".
    void command(std::string_view key);
    /// An item of a toolbar button's drop-down: the button's key, the item's place counted from 1,
    /// its text and its key.
    void menuCommand(std::string_view button, int itemIndex, const std::string& itemText, const std::string& itemKey);

    // The station's commands.
    void doUploader();
    void doTools();
    void doHelpdesk();
    void doAbout();
    void doReports();
    /// Hook for loading or saving default settings; deliberately does nothing.
    void GetDefaultSettings(bool saveDefaults = false);

private:
    void getStoreList();
    void loadSettings();
    void writeSettings();
    void superviseClientWindows();
    void storeMaintenancePoll();
    /// Hidden where a tray icon brings it back; minimised where there is none, so the task bar does.
    void putAway();

    Ports& m_ports;
    StationConfig m_config;
    const ServiceClient& m_service;
    StationView& m_view;
    std::string m_programFolder;
    StationState m_state;
    TickCounter m_ticks;
    DocumentPrinting m_printing;
    HostChannel m_channel;

    /// The main window as program updates see it.
    class UpdateWindow final : public UpdateView {
    public:
        explicit UpdateWindow(StationView& view) : m_view(view) {}
        void setTimerEnabled(bool enabled) override { m_view.setTimerEnabled(enabled); }
        void setStatus(const std::string& text) override { m_view.setPanel(StationView::Panel::Message, text); }
        void setFirstButtonEnabled(bool enabled) override { m_view.setConnectEnabled(enabled); }
        void showProgress() override { m_view.showProgress(); }
        bool progressVisible() const override { return m_view.progressVisible(); }
        void setProgress(float minimum, float maximum, float value) override {
            // The bar counts in int: files past 2 GB are shown in kilobytes.
            const float scale = maximum > 2.0e9F ? 1024.0F : 1.0F;
            m_view.setProgress(static_cast<int>(minimum / scale), static_cast<int>(maximum / scale),
                               static_cast<int>(value / scale));
        }
        void endProgram() override { m_view.endProgram(); }

    private:
        StationView& m_view;
    };
    UpdateWindow m_updateWindow{m_view};
    ProgramUpdates m_updates;
};

} // namespace station
