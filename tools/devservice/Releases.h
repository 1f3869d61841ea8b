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
    /// PEM Ed25519 private key; the description then carries "Signature=" of the installer.
    std::optional<std::filesystem::path> signingKey;
};

/// Writes rdp/setup.exe, rdp/readme.txt and rdp/rdpupdate.ini under `filesRoot`. Throws
/// std::runtime_error with the reason when a file or the key cannot be used.
void publishRelease(const std::filesystem::path& filesRoot, const Release& release);

/// Base64 Ed25519 signature of `bytes` with the PEM private key in `keyFile`.
std::string signBytes(const std::string& bytes, const std::filesystem::path& keyFile);

/// A strong validator of the file as it is now: changes whenever the file is replaced.
std::string entityTag(const std::filesystem::path& file);

/// The next download of a file under rdp/ ends after `bytes` bytes of its body, the connection
/// closed (for tests of resumed downloads). Applies once.
void cutNextDownload(const std::filesystem::path& filesRoot, std::uint64_t bytes);
/// The armed cut, taken (it applies once); nothing when none is armed.
std::optional<std::uint64_t> takeDownloadCut(const std::filesystem::path& filesRoot);

} // namespace devservice
