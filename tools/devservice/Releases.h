#pragma once
// Program releases: publishing one into the files folder from the admin command line, and what
// the update files are served with (a validator for resumed downloads, a test knob that cuts a
// download off).
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace devservice {

struct Release {
    std::string version;                         ///< written after "Version =", e.g. "2.02"
    std::filesystem::path installer;             ///< copied to rdp/setup.exe
    std::optional<std::filesystem::path> readMe; ///< copied to rdp/readme.txt; a short text when none
    /// minisign secret key without a password (`minisign -G -W`); rdp/setup.exe.minisig is then
    /// written beside the installer, its trusted comment "version=" and the version.
    std::optional<std::filesystem::path> signingKey;
};

/// Writes rdp/setup.exe, rdp/readme.txt and rdp/rdpupdate.ini under `filesRoot`. Throws
/// std::runtime_error with the reason when a file or the key cannot be used.
void publishRelease(const std::filesystem::path& filesRoot, const Release& release);

/// The ".minisig" text that `minisign -S -t COMMENT` writes for `bytes` with the secret key in
/// `keyFile` (prehashed: the signature covers the BLAKE2b-512 digest of the bytes).
std::string minisignature(const std::string& bytes, const std::filesystem::path& keyFile, const std::string& comment);

/// A strong validator of the file as it is now: changes whenever the file is replaced.
std::string entityTag(const std::filesystem::path& file);

/// The next download of a file under rdp/ ends after `bytes` bytes of its body, the connection
/// closed (for tests of resumed downloads). Applies once.
void cutNextDownload(const std::filesystem::path& filesRoot, std::uint64_t bytes);
/// The armed cut, taken (it applies once); nothing when none is armed.
std::optional<std::uint64_t> takeDownloadCut(const std::filesystem::path& filesRoot);

} // namespace devservice
