#pragma once
// The main window as the controller and the host channel see it, recording what they show.
#include "shell/StationView.h"

#include <array>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace station::test {

class FakeStationView : public StationView {
public:
    // The connection panel and the pole display.
    std::string text = "Closed", toolTip;
    std::vector<std::string> panelHistory;
    bool panelShown = false;
    int poleLoads = 0;
    std::array<std::string, 2> pole{"old 1", "old 2"};

    // The window.
    std::string caption;
    bool visible = false;
    bool minimised = false;
    bool tray = true;
    bool timerEnabled = false;
    int raises = 0;
    int restores = 0;
    bool connectEnabled = true;
    std::vector<std::string> fontMenu;
    std::vector<StoreRow> uploaderMenu;
    std::vector<StoreRow> rows;
    std::vector<bool> bold;
    std::vector<std::string> status;
    std::map<Panel, std::string> panels;
    /// The windows the commands opened, in order: "uploader 1", "helpdesk", "about", "printers".
    std::vector<std::string> opened;
    /// Runs while the device window is "open".
    std::function<void()> whilePrinterSetupOpen;

    std::string panelText() const override { return text; }
    void setPanelText(const std::string& t) override {
        text = t;
        panelHistory.push_back(t);
    }
    void setPanelToolTip(const std::string& t) override { toolTip = t; }
    void showPanel() override { panelShown = true; }
    void showPole() override { ++poleLoads; }
    void setPoleLine(int index, const std::string& line) override { pole.at(static_cast<std::size_t>(index)) = line; }

    void setCaption(const std::string& t) override { caption = t; }
    void showLoading() override { visible = true; }
    void setFontMenu(const std::vector<std::string>& items) override { fontMenu = items; }
    void setUploaderMenu(const std::vector<StoreRow>& stores) override { uploaderMenu = stores; }
    void showStoreRows(const std::vector<StoreRow>& r) override {
        rows = r;
        bold.assign(r.size(), false);
        status.assign(r.size(), "");
    }
    void setPanel(Panel panel, const std::string& t) override { panels[panel] = t; }
    int rowCount() const override { return static_cast<int>(rows.size()); }
    bool rowBold(int row) const override {
        return row >= 0 && static_cast<std::size_t>(row) < bold.size() && bold[row];
    }
    void markRow(int row, bool on, const std::string& s) override {
        if (row < 0 || static_cast<std::size_t>(row) >= rows.size())
            return;
        bold[static_cast<std::size_t>(row)] = on;
        status[static_cast<std::size_t>(row)] = s;
    }
    void setConnectEnabled(bool enabled) override { connectEnabled = enabled; }
    bool trayAvailable() const override { return tray; }
    void hideWindow() override { visible = false; }
    void minimiseWindow() override { minimised = true; }
    void raiseWindow() override { ++raises; }
    void restoreWindow() override {
        minimised = false;
        ++restores;
    }
    void setTimerEnabled(bool enabled) override { timerEnabled = enabled; }
    void openUploader(int store) override { opened.push_back("uploader " + std::to_string(store)); }
    void openHelpdesk() override { opened.emplace_back("helpdesk"); }
    void openAbout() override { opened.emplace_back("about"); }
    void openGetInfo() override { opened.emplace_back("getinfo"); }
    void runPrinterSetup() override {
        opened.emplace_back("printers");
        if (whilePrinterSetupOpen)
            whilePrinterSetupOpen();
    }

    // Program updates.
    bool progressShown = false;
    int progressMaximum = 0, progressValue = 0;
    bool ended = false;
    void showProgress() override { progressShown = true; }
    bool progressVisible() const override { return progressShown; }
    void setProgress(int, int maximum, int value) override {
        progressMaximum = maximum;
        progressValue = value;
    }
    void endProgram() override { ended = true; }
};

} // namespace station::test
