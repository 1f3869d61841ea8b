#include "config/DeviceAssignment.h"

#include "core/Text.h"

#include <filesystem>
#include <system_error>

namespace station {

void ensureDeviceRow(StationSettings& settings) {
    if (settings.hasRow())
        return;
    settings.addRow();
    settings.set("Prefix", defaultPrefix);
}

std::vector<std::string> printerChoices(const std::vector<std::string>& installed, bool addEmail) {
    std::vector<std::string> choices{std::string(StationSettings::unassigned)};
    for (const auto& name : installed) {
        if (text::trim(name).find(' ') == std::string::npos)
            choices.push_back(name);
    }
    if (addEmail)
        choices.emplace_back(emailReport);
    return choices;
}

std::string printerBoxText(const StationSettings& settings, std::string_view field) {
    const auto stored = settings.get(field);
    return text::trim(stored).empty() ? std::string(StationSettings::unassigned) : stored;
}

std::vector<std::string> portChoices() {
    std::vector<std::string> ports;
    for (int n = 1; n <= 29; ++n)
        ports.push_back("COM" + std::to_string(n));
    return ports;
}

bool printerUnchanged(const StationSettings& settings, std::string_view field, std::string_view boxText) {
    const auto stored = settings.get(field);
    return boxText == stored || (text::trim(stored).empty() && boxText == StationSettings::unassigned);
}

void saveDeviceChoice(StationState& state, const DeviceChoice& choice, ClientWindows& windows, Dialogs& dialogs) {
    auto& settings = state.settings;
    bool unchanged = true;
    // Each call overwrites the last: only the report printer's answer is kept.
    for (std::size_t box = 0; box < 3; ++box)
        unchanged = printerUnchanged(settings, printerFields[box], choice.printers[box]);
    if (text::trim(settings.get("Prefix")) != choice.prefix)
        unchanged = false;

    for (std::size_t box = 0; box < printerFields.size(); ++box) {
        const auto& shown = choice.printers[box];
        settings.set(printerFields[box], shown == StationSettings::unassigned ? std::string() : shown);
    }
    settings.set("Prefix", choice.prefix.substr(0, 100));
    settings.set("CC", choice.port);

    state.clientWindow = windows.findByTitle(text::fromWire(clientWindowTitle(state.loginHost)));
    if (state.clientWindow >= 1 && !unchanged)
        dialogs.message(std::string(printerChangeMessage), Dialogs::Icon::Information, Dialogs::Buttons::Ok,
                        std::string(printerChangeTitle));
}

Placement devicesWindowPlacement(int screenWidth, int screenHeight, int windowWidth) {
    return {screenWidth - windowWidth, screenHeight - windowWidth};
}

ReaderTest::ReaderTest(Peers peers, ReaderTestView& view, std::string imagePath, int waitMs)
    : m_peers(peers), m_view(view), m_imagePath(std::move(imagePath)), m_waitMs(waitMs) {}

void ReaderTest::testReader(std::int16_t mode, std::string_view port, std::string_view readerType) {
    std::error_code ignored;
    std::filesystem::remove(m_imagePath, ignored);
    const auto portText = text::trim(port);
    if (portText.empty()) {
        m_peers.dialogs.message(std::string(noReaderPortMessage), Dialogs::Icon::Critical);
        m_view.stopTimeout();
        m_view.hidePrompt();
        return;
    }
    try {
        if (!applyReaderSetup(m_peers.reader, readerSetup(portText, testReaderKind(readerType)))) {
            // Not a message the window ever had, but an operator testing a reader needs the reason.
            m_peers.dialogs.message("The card reader's port could not be opened: " + m_peers.reader.error(),
                                    Dialogs::Icon::Critical);
            return;
        }
    } catch (const std::exception& e) {
        m_peers.dialogs.message(std::string("The card reader could not be set up: ") + e.what(),
                                Dialogs::Icon::Critical);
        return;
    }
    m_view.showPrompt(scanPrompt(mode == 3), PromptColour::Yellow);
    m_view.armTimeout(m_waitMs);
    m_peers.yield.yield();
}

void ReaderTest::cancel() {
    m_view.stopTimeout();
    m_view.hidePrompt();
}

void ReaderTest::readComplete() {
    m_view.stopTimeout();
    m_view.showPrompt("Reading Credit card or Check", PromptColour::Green);
    auto& reader = m_peers.reader;
    const auto track1 = reader.track(1);
    const auto tracks = track1 + reader.track(2) + reader.track(3);
    std::string result;
    int status = 0;
    if (!tracks.empty()) {
        const auto digits = text::trim(m_peers.dialogs.input("What are the last 4 digits on the card? "));
        const bool found = text::lower(track1).find(text::lower(digits)) != std::string::npos;
        result = found ? "Card Match in Track 1\r\n" : "No match in track 1\r\n";
    } else {
        std::error_code ignored;
        std::filesystem::remove(m_imagePath, ignored);
        result = "MICR : " + reader.micrLine() + "\r\nImage stored in " + m_imagePath;
        status = reader.saveImage(m_imagePath);
    }
    m_view.stopTimeout();
    if (status == 0 || status == -3)
        m_peers.dialogs.message(result);
    reader.close();
    m_view.hidePrompt();
}

} // namespace station
