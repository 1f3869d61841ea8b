#pragma once
// Reading a payment card (task 3) or a check (task 4) on the serial reader, and the reader set-up
// that the device window's reader test shares.
#include "host/TaskLine.h"
#include "platform/Dialogs.h"
#include "platform/MicrReader.h"
#include "platform/Yield.h"
#include "service/ServiceClient.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace station {

enum class ReaderKind { Standard, MiniMicr, KeyboardWedge };

/// The reader type as the task reads it: "MINI MICR" after trimming and upper-casing,
/// "Keyboard Wedge" exactly as it stands, anything else the standard reader.
ReaderKind taskReaderKind(std::string_view readerType);
/// The reader type as the reader test reads it: only "MINI MICR" (trimmed, upper-cased) differs
/// from the standard reader; the test sets up even a keyboard wedge as a reader.
ReaderKind testReaderKind(std::string_view readerType);

/// The port's number as the reader takes it: the last character of a text shorter than five
/// characters ("COM7" → "7"), else the last two ("COM12" → "12", "COM100" → "00").
std::string readerPortNumber(std::string_view port);

/// What the reader is given, in order: its port, line settings, the port opened again, the
/// switch commands one by one, then the start operation.
struct ReaderSetup {
    std::string portNumber;
    std::string lineSettings;
    std::vector<std::string> commands;
    std::string startArgument;
};
ReaderSetup readerSetup(std::string_view port, ReaderKind kind);

/// Gives the reader its set-up. False when the port could not be opened (the reason is the
/// reader's error()); commands are not sent then. The reader controls of old also took a 16-bit
/// value, a text value and a single-precision 4.0 before and after the start; our driver has no
/// such settings (its timing bounds live in platform/Limits.h), so the set-up has no step for
/// them. Closing and opening the port again is open() itself.
bool applyReaderSetup(MicrReader& reader, const ReaderSetup& setup);

inline constexpr std::string_view noReaderPortMessage =
    "The Credit card reader com port has not been set.  Please configure this in the vorne terminal first";

/// The prompt's background: yellow while a read is waited for, green while one is taken.
enum class PromptColour { Yellow, Green };
/// "Scan Card Now" / "Scan Check Now", a line break, "Press Escape to Cancel".
std::string scanPrompt(bool card);

/// One result-file entry: the text's length in five digits with leading zeros, then the text;
/// "00000" for an empty text. A length beyond five digits keeps all its digits.
std::string resultEntry(std::string_view text);
/// A size line: at least five digits.
std::string sizeLine(std::uintmax_t size);
/// Lines of the result files end in CR LF on every system: they are read by the store's
/// programs, which expect the Windows form.
inline constexpr std::string_view resultLineEnd = "\r\n";
/// Task number line and one entry per track.
std::string cardResult(std::string_view taskField, const std::array<std::string, 3>& tracks);
/// Task number line, the MICR line's entry and the image's size line.
std::string checkResult(std::string_view taskField, std::string_view micrLine, std::uintmax_t imageSize);
/// The file of a cancelled or timed-out read: one empty line.
std::string emptyResult();
/// Writes a task's result file so that a program polling for it finds either no file (or the
/// earlier one) or the whole new text, never a part: the text goes to a file of its own beside
/// the result, which then takes the result's name in one step. False when it could not be
/// written; nothing is left behind then.
bool writeResultFile(const std::string& path, std::string_view content);

/// A keyboard wedge types the card's tracks as the ISO sentinels frame them: "%" track 1 "?",
/// ";" track 2 "?", ";" track 3 "?". The text is cut at every ";" and every "?": the first
/// piece (without a leading "%") is track 1, the next non-empty pieces tracks 2 and 3. A text
/// without sentinels is track 1 as a whole.
std::array<std::string, 3> wedgeTracks(std::string_view typed);

/// The task window as the read sees it.
class ReaderTaskView {
public:
    virtual ~ReaderTaskView() = default;
    virtual void showPrompt(const std::string& caption, PromptColour colour) = 0;
    /// Clears the wedge's text box and shows it.
    virtual void showWedgeBox() = 0;
    /// Arms the time-out timer (`Timer1`); its tick calls ReaderTask::timeOut().
    virtual void armTimeout(int milliseconds) = 0;
    virtual void stopTimeout() = 0;
    /// The job is over: every window closes and the program ends.
    virtual void finish() = 0;
};

/// Tasks 3 and 4: set-up, prompt, the read (or its cancel or time-out), the result file.
class ReaderTask {
public:
    struct Peers {
        MicrReader& reader;
        Dialogs& dialogs;
        Yield& yield;
        const ServiceClient& service;
    };
    ReaderTask(TaskLine line, Peers peers, std::string stationId, ReaderTaskView& view, int waitMs = 30000);

    /// The set-up, through to the prompt. Every way it fails ends the task with an empty result
    /// file after its message, so the caller is never left waiting.
    void start();
    /// The reader's read event.
    void readComplete();
    /// `Command1` clicked: nothing was read.
    void cancel();
    /// `Timer1` ticked.
    void timeOut() { cancel(); }
    /// The wedge's entry ended (`cmdEndCC_Click`) with the text of `txtCCInfo`.
    void wedgeEntered(std::string_view typed);
    /// The port failed while the read was waited for.
    void readerFault(const std::string& reason);

    bool isCard() const { return m_line.task == 3; }

private:
    void deletePreviousResults();
    void writeResult(const std::string& content);
    void writeCheck(std::string_view micrLine, bool fromReader);
    void fail(const std::string& message, Dialogs::Icon icon);
    void end();

    TaskLine m_line;
    Peers m_peers;
    std::string m_stationId;
    ReaderTaskView& m_view;
    int m_waitMs;
    bool m_done = false;
    bool m_readerOpen = false;
};

} // namespace station
