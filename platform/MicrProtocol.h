#pragma once
// The wire protocol of the serial card and check readers ("MICRImage", "mini MICR"): what the
// driver sends, and how the bytes the reader sends back become one read. No serial port here:
// the adapter moves bytes and runs the two timers this logic asks for.
//
// Host to reader: every command is its text followed by CR. The start operation's argument goes
// out as "FC" + argument ("FC0002": format 00, symbol set 02, the raw MICR line). The check image
// is asked for with "TI" once the check's MICR line has come.
//
// Reader to host, taken in every form the reader family can be set to:
// - A message is framed by STX ... ETX (an ESC right after STX is skipped, CR and LF after ETX
//   are ignored), or, with framing switched off, is one line ended by CR or LF. A new STX in the
//   middle of a message means the reader started over: the broken message is dropped. A message
//   longer than limits::readerMessage is noise and is dropped. Bytes that never end a message are
//   dropped with the next one; they never complete a read.
// - A status suffix "/" + two digits ends the data when the reader sends one; it is taken off.
// - A data header "C" (check) or "M" (card) starts the data when the reader sends one. Without
//   it, data that begins with a track sentinel ("%" or ";") or that holds any character outside
//   the MICR line's alphabet (digits, T, O, A, D, "?", "-", blank) is card data; the rest is a
//   MICR line.
// - Card tracks come all in one message or one message per track, with or without the ISO
//   sentinels ("%...?" track 1, ";...?" tracks 2 and 3); "E" as a track's data marks a track that
//   failed and reads as empty. With sentinels, "%" names track 1 and each ";" the next of tracks 2
//   and 3; without them each message is the next track not read yet. After the last card message
//   the read waits limits::readerSettle for more tracks, then it is complete.
// - After a MICR line the image is asked for. The reader answers with its length in 16-bit words,
//   MSB first, in 2 bytes, or in 3 bytes after a leading 0x00, then twice that many bytes. A "?"
//   (no image: the mini MICR has no camera) or no byte for limits::readerImageStall ends the read
//   without an image. The CR and LF that end the check's message are not taken for the length. The replies "OK" and "?"
//   to commands are not data.
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace station::micr {

inline constexpr char stx = '\x02', etx = '\x03', esc = '\x1b', cr = '\r', lf = '\n';

/// The bytes of one command line.
std::string commandBytes(std::string_view command);
/// The bytes of the start operation: "FC" + argument + CR.
std::string startBytes(std::string_view argument);
/// The image request.
std::string imageRequestBytes();

/// One complete read: a card (tracks) or a check (MICR line and, when the reader has one, image).
struct Read {
    bool check = false;
    std::array<std::string, 3> tracks;
    /// Tracks the reader has sent, read or failed ("E").
    std::array<bool, 3> seen{};
    std::string micrLine;
    /// The status suffix of the last message, -1 when the reader sent none.
    int status = -1;
    std::optional<std::string> image;
};

/// What one message holds.
struct Message {
    enum class Kind { Card, Check, Reply } kind = Kind::Reply;
    std::string data; ///< header and status taken off
    int status = -1;
};
/// Reads one message's data (framing already taken off).
Message classify(std::string_view data);
/// Puts a card message's tracks into `read`, filling the next tracks not seen yet where the
/// message names none.
void addTracks(std::string_view data, Read& read);

/// Splits the byte stream into messages, and reads an image where one is asked for.
class Receiver {
public:
    /// What the adapter must do after feeding bytes or after a timer ran out.
    enum class Action {
        None,
        Settle,       ///< (re)start the settle timer: more tracks may follow
        ImageMoving,  ///< restart the image timer: bytes of it came
        RequestImage, ///< send imageRequestBytes() and start the image timer
        Complete      ///< read() holds a whole read; stop the timers
    };
    Action feed(std::string_view bytes);
    /// The settle or image timer ran out.
    Action timeUp();
    /// The read so far; whole after Complete.
    const Read& read() const { return m_read; }
    /// Forgets everything: the next read starts.
    void reset();

private:
    enum class State { Waiting, Card, Image, Skipping };
    Action message(std::string_view data, std::string_view trailer);
    Action imageByte(char c);

    State m_state = State::Waiting;
    Read m_read;
    std::string m_pending;
    bool m_framed = false;
    bool m_overflow = false;
    // image transfer
    std::string m_trailer; ///< the end of line that follows the check's message, not image bytes
    std::string m_lengthBytes;
    std::size_t m_imageLength = 0;
    bool m_lengthKnown = false;
    std::size_t m_skip = 0; ///< bytes of an image too large to keep, still to come
};

} // namespace station::micr
