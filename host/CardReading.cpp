#include "host/CardReading.h"

#include "core/Text.h"
#include "host/DocumentPrinting.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace station {

namespace fs = std::filesystem;

ReaderKind taskReaderKind(std::string_view readerType) {
    if (text::upper(text::trim(readerType)) == "MINI MICR")
        return ReaderKind::MiniMicr;
    if (readerType == "Keyboard Wedge")
        return ReaderKind::KeyboardWedge;
    return ReaderKind::Standard;
}

ReaderKind testReaderKind(std::string_view readerType) {
    return text::upper(text::trim(readerType)) == "MINI MICR" ? ReaderKind::MiniMicr : ReaderKind::Standard;
}

std::string readerPortNumber(std::string_view port) {
    const std::size_t keep = port.size() < 5 ? 1 : 2;
    return std::string(port.substr(port.size() - std::min(keep, port.size())));
}

ReaderSetup readerSetup(std::string_view port, ReaderKind kind) {
    ReaderSetup setup;
    setup.portNumber = readerPortNumber(port);
    setup.startArgument = "0002";
    if (kind == ReaderKind::MiniMicr) {
        setup.lineSettings = "57600,N,8,1";
        setup.commands = {"SWA 00100000", "SWB 00100010", "SWC 00100000", "HW 00111100"};
    } else {
        setup.lineSettings = "115200,N,8,1";
        setup.commands = {"SWA 00100010", "SWB 00100010", "SWC 00100000",
                          "HW 00111100",  "SWE 00000010", "SWI 00000000"};
    }
    return setup;
}

bool applyReaderSetup(MicrReader& reader, const ReaderSetup& setup) {
    reader.setSetting("CommPort", setup.portNumber);
    reader.setSetting("Settings", setup.lineSettings);
    // The port is closed and opened again with the new settings.
    if (!reader.open())
        return false;
    for (const auto& command : setup.commands)
        reader.command(command);
    reader.start(setup.startArgument);
    return true;
}

std::string scanPrompt(bool card) {
    return std::string("Scan ") + (card ? "Card" : "Check") + " Now\r\nPress Escape to Cancel";
}

std::string resultEntry(std::string_view text) {
    if (text.empty())
        return "00000";
    char length[24];
    std::snprintf(length, sizeof length, "%05zu", text.size());
    return length + std::string(text);
}

std::string sizeLine(std::uintmax_t size) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%05ju", size);
    return digits;
}

std::string cardResult(std::string_view taskField, const std::array<std::string, 3>& tracks) {
    std::string out = std::string(taskField) + std::string(resultLineEnd);
    for (const auto& track : tracks)
        out += resultEntry(track) + std::string(resultLineEnd);
    return out;
}

std::string checkResult(std::string_view taskField, std::string_view micrLine, std::uintmax_t imageSize) {
    const std::string end(resultLineEnd);
    return std::string(taskField) + end + resultEntry(micrLine) + end + sizeLine(imageSize) + end;
}

std::string emptyResult() {
    return std::string(resultLineEnd);
}

bool writeResultFile(const std::string& path, std::string_view content) {
    const fs::path target(path);
    // Same folder, so the rename never crosses volumes; not ".tmp", which is a check's image.
    fs::path part = target;
    part += ".part";
    std::ofstream file(part, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    std::error_code error;
    if (file)
        // Replaces an existing result: rename(2) on POSIX; on Windows both libstdc++ and the
        // Microsoft library call MoveFileExW with MOVEFILE_REPLACE_EXISTING.
        fs::rename(part, target, error);
    if (!file || error) {
        fs::remove(part, error);
        return false;
    }
    return true;
}

std::array<std::string, 3> wedgeTracks(std::string_view typed) {
    std::array<std::string, 3> tracks;
    std::vector<std::string> pieces;
    std::string piece;
    for (const char c : typed) {
        if (c == ';' || c == '?') {
            pieces.push_back(piece);
            piece.clear();
        } else {
            piece.push_back(c);
        }
    }
    pieces.push_back(piece);
    // Track 1 is what precedes the first cut, even when the wedge sent no track 1 at all.
    auto first = pieces.front();
    if (!first.empty() && first.front() == '%')
        first.erase(0, 1);
    tracks[0] = first;
    std::size_t next = 1;
    for (std::size_t i = 1; i < pieces.size() && next < tracks.size(); ++i) {
        if (!pieces[i].empty())
            tracks[next++] = pieces[i];
    }
    return tracks;
}

ReaderTask::ReaderTask(TaskLine line, Peers peers, std::string stationId, ReaderTaskView& view, int waitMs)
    : m_line(std::move(line)), m_peers(peers), m_stationId(std::move(stationId)), m_view(view), m_waitMs(waitMs) {}

void ReaderTask::start() {
    deletePreviousResults();

    std::string port, type;
    try {
        // Three requests as the printer set-up makes them; the port is field 4 of each reply,
        // the type the field the second request selects.
        auto choice = getPrinters(m_peers.service, m_stationId, 2);
        port = choice.readerPort;
        choice = getPrinters(m_peers.service, m_stationId, 3);
        type = choice.device;
        port = choice.readerPort;
        port = getPrinters(m_peers.service, m_stationId, 0).readerPort;
    } catch (const std::exception&) {
        fail("The card reader's settings could not be read from the service.", Dialogs::Icon::Critical);
        return;
    }

    const auto kind = taskReaderKind(type);
    if (kind == ReaderKind::KeyboardWedge) {
        m_peers.yield.yield();
        m_view.showWedgeBox();
    } else {
        port = text::trim(port);
        if (port.empty()) {
            m_peers.dialogs.message(std::string(noReaderPortMessage), Dialogs::Icon::Critical);
            m_view.stopTimeout();
            // Nothing can be read: the caller gets the empty result it gets for a cancel.
            cancel();
            return;
        }
        m_readerOpen = true;
        bool opened = false;
        try {
            opened = applyReaderSetup(m_peers.reader, readerSetup(port, kind));
        } catch (const std::exception& e) {
            fail(std::string("The card reader could not be set up: ") + e.what(), Dialogs::Icon::Critical);
            return;
        }
        if (!opened) {
            fail("The card reader's port could not be opened: " + m_peers.reader.error(), Dialogs::Icon::Critical);
            return;
        }
    }
    m_view.showPrompt(scanPrompt(isCard()), PromptColour::Yellow);
    m_view.armTimeout(m_waitMs);
}

void ReaderTask::readComplete() {
    if (m_done)
        return;
    m_view.stopTimeout();
    m_view.showPrompt(std::string("Reading ") + (isCard() ? "Credit Card" : "Check"), PromptColour::Yellow);
    std::array<std::string, 3> tracks;
    for (int t = 1; t <= 3; ++t)
        tracks[static_cast<std::size_t>(t - 1)] = m_peers.reader.track(t);
    const bool cardRead = !(tracks[0] + tracks[1] + tracks[2]).empty();
    if (!isCard() && cardRead) {
        fail("Error: A Card was read but a Check was expected", Dialogs::Icon::None);
        return;
    }
    if (isCard() && !cardRead) {
        fail("Error: A Check was processed but a Card was expected", Dialogs::Icon::None);
        return;
    }
    if (isCard())
        writeResult(cardResult(m_line.field(0), tracks));
    else
        writeCheck(m_peers.reader.micrLine(), true);
    end();
}

void ReaderTask::wedgeEntered(std::string_view typed) {
    if (m_done)
        return;
    m_view.stopTimeout();
    const auto text = text::trim(typed);
    if (isCard())
        writeResult(cardResult(m_line.field(0), wedgeTracks(text)));
    else
        writeCheck(text, false);
    end();
}

void ReaderTask::cancel() {
    if (m_done)
        return;
    m_view.stopTimeout();
    writeResult(emptyResult());
    end();
}

void ReaderTask::readerFault(const std::string& reason) {
    if (m_done)
        return;
    fail("The card reader's port failed: " + reason, Dialogs::Icon::Critical);
}

void ReaderTask::fail(const std::string& message, Dialogs::Icon icon) {
    m_view.stopTimeout();
    m_peers.dialogs.message(message, icon);
    cancel();
}

void ReaderTask::deletePreviousResults() {
    const auto result = m_line.field(1);
    std::error_code ignored;
    for (const auto& path : {result, result + ".tif", result})
        fs::remove(fs::path(path), ignored);
}

void ReaderTask::writeResult(const std::string& content) {
    if (!writeResultFile(m_line.field(1), content))
        m_peers.dialogs.message("The result file " + m_line.field(1) + " could not be written.",
                                Dialogs::Icon::Critical);
}

void ReaderTask::writeCheck(std::string_view micrLine, bool fromReader) {
    const fs::path image(m_line.field(1) + ".tmp");
    std::error_code error;
    fs::remove(image, error);
    if (fromReader)
        m_peers.reader.saveImage(image.string());
    if (!fs::exists(image, error))
        std::ofstream(image, std::ios::binary);
    const auto size = fs::file_size(image, error);
    writeResult(checkResult(m_line.field(0), micrLine, error ? 0 : size));
}

void ReaderTask::end() {
    m_done = true;
    if (m_readerOpen)
        m_peers.reader.close();
    m_view.finish();
}

} // namespace station
