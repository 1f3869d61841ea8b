#pragma once
// Program updates: now and then the supervision tick asks the service where this station's
// updates live, compares the version offered there with its own and, when a newer one is
// offered, downloads the installer and its read-me, tells the operator, starts the installer
// and ends the program.
//
// The installer goes to disk as it arrives, into a partial file in the install folder that is
// renamed when complete. A transfer that breaks keeps its partial file and the server's
// validator beside it; the next check asks only for the rest, guarded by that validator, so a
// large release crosses a slow line over several checks. When the program carries an update
// key, the installer is started only when "setup.exe.minisig" beside it verifies: made with that
// key, over the installer's digest (taken as the bytes arrive, kept bytes first), and naming in its
// trusted comment the version that the description offered.
#include "platform/Ports.h"
#include "service/ServiceClient.h"
#include "update/UpdateView.h"

#include <filesystem>
#include <memory>
#include <string>

namespace station {

class ProgramUpdates {
public:
    struct Setup {
        std::string programFolder; ///< the program's folder; the install folder lies inside
        std::string localVersion;  ///< this program's version, as versionText() writes it
        std::string publicKey;     ///< minisign public key text releases are signed with; empty = unsigned
        /// A folder of this user's own that holds the install folder when the program's folder
        /// cannot be written (a program installed for all users); empty = none.
        std::string userFolder;
    };

    // Texts the operator sees.
    static constexpr const char* communicationsError = "Communications Error Check Line";
    static constexpr const char* downloading = "Downloading a new release...";
    static constexpr const char* handOverTitle = "New Update to Install";
    static constexpr const char* handOverText =
        "A new version of the VORNE Terminal has been pushed down to this station.  If you are on the POS you need to "
        "exit from it. Once you do that press OK to install this update. ";
    static constexpr const char* refused = "The new release was refused: ";

    ProgramUpdates(const ServiceClient& service, Ports& ports, UpdateView& view, Setup setup);

    /// Decides: asks for the update address, reads the description, compares versions and
    /// downloads when a newer release is offered. Always leaves the timer enabled, unless the
    /// program has ended.
    void CheckProgramUpdates(const std::string& stationId);

    /// True once an update was handed over and the program ended.
    bool ended() const { return m_ended; }
    /// The update base address kept between checks.
    const std::string& baseAddress() const { return m_base; }
    /// "_Install" in the program's folder, or in the user's folder once the program's could not
    /// be written.
    std::filesystem::path installFolder() const;
    /// The file in the install folder that `literal` names: "setup.exe" and "Setup.exe" name one
    /// file, as they do where file names ignore case.
    std::filesystem::path installFile(const std::string& literal) const;
    std::filesystem::path partialFile() const;

private:
    /// Downloads and hands over. True when the program has ended. Throws for the failures that
    /// the caller shows as a communications error.
    bool GetProgramUpdates();
    /// The installer into the partial file, continuing an earlier try; true when it is whole.
    bool downloadInstaller(const std::string& url, std::shared_ptr<ByteSink> digest);
    /// Makes the install folder and the partial file in it, in the user's folder when the
    /// program's cannot take them.
    void prepareInstallFolder();
    /// True when the installer may be started; otherwise it is deleted and the status says why.
    bool installerTrusted(SignatureVerifier::Digest* digest);
    /// Why the installer with `digest` may not be started; empty when it may.
    std::string refusalOf(SignatureVerifier::Digest& digest);

    const ServiceClient& m_service;
    Ports& m_ports;
    UpdateView& m_view;
    Setup m_setup;
    std::string m_base;
    std::string m_offered; ///< the version the description offered when the update began
    bool m_userInstallFolder = false;
    bool m_ended = false;
};

} // namespace station
