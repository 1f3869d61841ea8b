#pragma once
// What the station's sequencing shows on the main window. The main window implements it; the
// controller decides what to show and when. Every text handed over is UTF-8, ready to show: wire
// texts are decoded before they get here.
#include "host/HostChannel.h"

#include <string>
#include <vector>

namespace station {

/// One row of the store list as it is shown.
struct StoreRow {
    std::string storeName;
    std::string terminalNumber;
    std::string displayUser;
    std::string serialNumber;
    std::string key;      ///< "A", a blank, the entry index
    std::string menuText; ///< serial number and store name, for the drop-down menus
};

class StationView : public ChannelView {
public:
    enum class Panel { Connect, Message };

    virtual void setCaption(const std::string& text) = 0;
    /// Shows the window with the "Loading ..." frame in place of the list.
    virtual void showLoading() = 0;
    /// Fills the Tools drop-down with the console font items.
    virtual void setFontMenu(const std::vector<std::string>& items) = 0;
    /// Replaces the Uploader drop-down: one item per store, by entry index.
    virtual void setUploaderMenu(const std::vector<StoreRow>& stores) = 0;
    /// Replaces the list's rows and the Connect drop-down, hides the frame and shows the list.
    virtual void showStoreRows(const std::vector<StoreRow>& rows) = 0;
    virtual void setPanel(Panel panel, const std::string& text) = 0;

    /// How many rows the list shows.
    virtual int rowCount() const = 0;
    /// Whether the row of entry `row` is shown as connected (bold).
    virtual bool rowBold(int row) const = 0;
    /// Shows the row of entry `row` bold or not, with its status column.
    virtual void markRow(int row, bool bold, const std::string& status) = 0;
    virtual void setConnectEnabled(bool enabled) = 0;

    /// Whether the desktop has a system tray to bring a hidden window back from.
    virtual bool trayAvailable() const = 0;
    virtual void hideWindow() = 0;
    virtual void minimiseWindow() = 0;
    /// Brings the station window to the top of the others.
    virtual void raiseWindow() = 0;
    /// Puts the window back to its normal state (not minimised or maximised).
    virtual void restoreWindow() = 0;
    virtual void setTimerEnabled(bool enabled) = 0;

    // The windows that the station's commands open.
    virtual void openUploader(int store) = 0;
    virtual void openHelpdesk() = 0;
    virtual void openAbout() = 0;
    /// "Get External Data": the sign-on values and connection files.
    virtual void openGetInfo() = 0;
    /// The device assignment window, modal: returns when it is closed.
    virtual void runPrinterSetup() = 0;

    // Program updates.
    virtual void showProgress() = 0;
    virtual bool progressVisible() const = 0;
    virtual void setProgress(int minimum, int maximum, int value) = 0;
    /// Unloads the window and ends the program at once.
    virtual void endProgram() = 0;
};

} // namespace station
