#pragma once
// How long the station waits for each peer, and how much it takes from them. Every bound of the
// adapters comes from here, so the figures can be read and changed in one place.
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace station::limits {

using namespace std::chrono_literals;

/// Opening a connection to any peer (service, reports area, spooler). A peer on the LAN or the
/// internet that has not accepted in this time is down or unreachable.
inline constexpr std::chrono::milliseconds connect = 5s;

/// A whole small service request (one POST and its reply). Replies are a few kilobytes; a
/// service that has not finished in this time is treated as down for this request.
inline constexpr std::chrono::milliseconds request = 15s;

/// A download (GET) ends when no byte has moved for this long. There is deliberately no total
/// time: a large report on a slow line keeps going as long as it makes progress.
inline constexpr std::chrono::milliseconds stall = 30s;

/// ...except this cap, so that a peer trickling a byte now and then cannot hold a download, and
/// with it a task-mode job, for ever. 10 MB at 20 kB/s still fits.
inline constexpr std::chrono::milliseconds downloadCap = 15min;

/// The largest reply to a service request. The store list, the largest reply, holds at most 300
/// records of a few hundred bytes; anything far beyond that is not a reply of the service.
inline constexpr std::size_t maxReply = 4u << 20;

/// The largest download kept in memory (a report, a receipt, a label, an update file).
inline constexpr std::size_t maxDownload = 256u << 20;

/// The largest program update installer taken to disk. Far above any real release; a server
/// that sends more is not sending an installer.
inline constexpr std::uint64_t maxInstaller = 1ull << 30;

/// Each request to the print spooler, from sending it to the end of its answer.
inline constexpr std::chrono::milliseconds spoolerAnswer = 10s;

/// A whole call of the spooler or printer ports (it may make several requests). A call still
/// running after this is given up: the caller gets "spooler not answering" and the call runs
/// on alone until the spooler library lets it go.
inline constexpr std::chrono::milliseconds spoolerCall = 30s;

/// Ending a formatted document: the page description is finished and handed to the spooler.
inline constexpr std::chrono::milliseconds printJob = 60s;

/// A transfer that bounds itself (HTTP) is given up this much after its own bound, should it
/// ever overrun it.
inline constexpr std::chrono::milliseconds overrun = 5s;

/// Bytes to the store host that may wait unsent. Answers are a few bytes each; a host that has
/// stopped reading for this much has a broken line, and the station redials rather than pile up
/// its answers without bound.
inline constexpr std::size_t hostSendBuffer = 1u << 20;

/// What the system itself may hold of those answers. Left to itself it grows its buffer to
/// megabytes for a host that does not read, which would hide that host from the limit above for
/// minutes; the host's answers are small, so a small system buffer costs nothing.
inline constexpr int hostSystemSendBuffer = 64 << 10;

/// Bytes from the store host taken in ahead of the channel. A host that sends faster than the
/// station works through its commands is held back by TCP itself, not by the station's memory.
inline constexpr std::size_t hostReadAhead = 256u << 10;

// --- card and check reader ---------------------------------------------------------------
/// A card's tracks may come one message each, a few milliseconds apart: the read is complete
/// when no further track has come for this long.
inline constexpr std::chrono::milliseconds readerSettle = 200ms;

/// A check image (about 10 KB, a second at 115200 baud) is given up when no byte of it has
/// come for this long; the read then has no image.
inline constexpr std::chrono::milliseconds readerImageStall = 3s;

/// The longest message of the reader: three tracks or a MICR line are a few hundred bytes.
inline constexpr std::size_t readerMessage = 4096;

/// The largest check image kept; a larger one is read past and the check has no image.
inline constexpr std::size_t readerImage = 8u << 20;
// --- end of card and check reader --------------------------------------------------------

// ---- FTP (the uploader)

/// Each answer of the FTP server to a command of the session (log-in, change of folder, delete).
inline constexpr std::chrono::milliseconds ftpResponse = 15s;

/// An upload or a listing ends when no byte has moved for this long: the uploader's transfer
/// time-out of 30000 ms.
inline constexpr std::chrono::milliseconds ftpStall = 30s;

/// ...and, making progress all the while, after this long: large files on a slow store line
/// still fit, a server trickling a byte now and then cannot hold the window for ever.
inline constexpr std::chrono::milliseconds ftpTransferCap = 60min;

/// A whole FTP command that moves no file (log-in, folder, delete): connect, then a few answers.
inline constexpr std::chrono::milliseconds ftpCommand = connect + 2 * ftpResponse;

} // namespace station::limits
