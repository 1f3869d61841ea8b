#pragma once
// The rules of the device assignment window ("Printer Setup"): what its boxes offer, what Save
// stores and when it warns, and the reader test.
#include "core/StationState.h"
#include "host/CardReading.h"
#include "platform/ClientWindows.h"
#include "platform/Dialogs.h"
#include "platform/MicrReader.h"
#include "platform/Yield.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace station {

/// The settings fields of the printer boxes 0 to 3, in box order.
inline constexpr std::array<std::string_view, 4> printerFields{"prt0", "prt1", "prt2", "prt3"};
/// A share path on this machine: two backslashes, the loop-back address, a backslash.
inline constexpr std::string_view defaultPrefix = "\\\\127.0.0.1\\";
inline constexpr std::string_view emailReport = "<eMail Report>";
inline constexpr std::array<std::string_view, 4> readerTypes{"<unassigned>", "MICRImage", "mini MICR",
                                                             "Keyboard Wedge"};
inline constexpr std::string_view printerNotice =
    "Printer names can not contain spaces.  Any printer name with a space will be filtered from the selection.";
inline constexpr std::string_view printerChangeMessage =
    "You will need to exit your terminal session before your printer changes will take effect";
inline constexpr std::string_view printerChangeTitle = "Change Printer Settings";

/// Adds the window's default row when the settings have none: printers, reader and port empty,
/// the prefix defaultPrefix.
void ensureDeviceRow(StationSettings& settings);

/// A printer box's list: "<unassigned>", then every installed printer whose trimmed name holds
/// no blank (as it stands, in the system's order), then "<eMail Report>" when asked.
std::vector<std::string> printerChoices(const std::vector<std::string>& installed, bool addEmail = false);
/// What a printer box shows for `field`: the stored value as it stands, "<unassigned>" when it is
/// empty after trimming.
std::string printerBoxText(const StationSettings& settings, std::string_view field);
/// "COM1" to "COM29".
std::vector<std::string> portChoices();

/// True when printer box `boxText` shows the stored `field`, or the stored value is empty after
/// trimming and the box shows "<unassigned>".
bool printerUnchanged(const StationSettings& settings, std::string_view field, std::string_view boxText);

/// What the window shows when Save is clicked.
struct DeviceChoice {
    std::array<std::string, 4> printers; ///< boxes 0 to 3
    std::string prefix;
    std::string port;
};

/// Save: stores the choice and warns, when a telnet client window of the last connection is
/// open, that a change counts only after the session ends. Only the report printer and the
/// prefix count as a change; the receipt and label printers, the reader type and the port do
/// not, as the window has always worked. Keeps the client window found in `state`.
void saveDeviceChoice(StationState& state, const DeviceChoice& choice, ClientWindows& windows, Dialogs& dialogs);

/// Where the window goes: its width is taken from both the screen's width and its height.
struct Placement {
    int left = 0;
    int top = 0;
};
Placement devicesWindowPlacement(int screenWidth, int screenHeight, int windowWidth);

/// The reader test window as the test sees it.
class ReaderTestView {
public:
    virtual ~ReaderTestView() = default;
    virtual void showPrompt(const std::string& caption, PromptColour colour) = 0;
    virtual void hidePrompt() = 0;
    /// Arms `Timer2`; its tick calls ReaderTest::cancel().
    virtual void armTimeout(int milliseconds) = 0;
    virtual void stopTimeout() = 0;
};

/// The reader test: reads one card or check and shows what was read.
class ReaderTest {
public:
    struct Peers {
        MicrReader& reader;
        Dialogs& dialogs;
        Yield& yield;
    };
    /// `imagePath`: where a check's image is stored.
    ReaderTest(Peers peers, ReaderTestView& view, std::string imagePath, int waitMs = 30000);

    /// `mode` 3 asks for a card, any other value for a check. `port` and `readerType` are the
    /// port and reader-type boxes as shown.
    void testReader(std::int16_t mode, std::string_view port, std::string_view readerType);
    /// The prompt clicked, or the time-out: the read is no longer waited for; the reader stays
    /// open.
    void cancel();
    /// The reader's read event.
    void readComplete();

private:
    Peers m_peers;
    ReaderTestView& m_view;
    std::string m_imagePath;
    int m_waitMs;
};

} // namespace station
