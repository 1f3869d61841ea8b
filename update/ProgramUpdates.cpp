#include "update/ProgramUpdates.h"

#include "core/Text.h"
#include "update/Minisign.h"
#include "update/UpdateRules.h"

#include <fstream>
#include <stdexcept>
#include <system_error>

namespace station {

namespace fs = std::filesystem;

namespace {

constexpr const char* lineEnd = "\r\n";

/// The spellings the install folder's files are written with; other spellings of the same names
/// mean the same files.
constexpr const char* installNames[] = {"Setup.exe", "Readme.txt"};

/// A failure that ends the check with the communications error.
struct UpdateFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Ports take UTF-8 texts, paths included.
std::string utf8(const fs::path& path) {
    const auto text = path.u8string();
    return {text.begin(), text.end()};
}

std::string readFirstLine(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::string line;
    std::getline(in, line);
    return line;
}

void writeBytes(const fs::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out)
        throw UpdateFailure("cannot write " + utf8(path));
}

} // namespace

ProgramUpdates::ProgramUpdates(const ServiceClient& service, Ports& ports, UpdateView& view, Setup setup)
    : m_service(service), m_ports(ports), m_view(view), m_setup(std::move(setup)) {}

fs::path ProgramUpdates::installFolder() const {
    const auto& folder = m_userInstallFolder ? m_setup.userFolder : m_setup.programFolder;
    return (fs::path(std::u8string(folder.begin(), folder.end())) / "_Install").make_preferred();
}

fs::path ProgramUpdates::installFile(const std::string& literal) const {
    for (const char* name : installNames)
        if (text::equalsNoCase(literal, name))
            return installFolder() / name;
    return installFolder() / literal;
}

fs::path ProgramUpdates::partialFile() const {
    return installFolder() / "Setup.exe.partial";
}

void ProgramUpdates::CheckProgramUpdates(const std::string& stationId) {
    m_view.setTimerEnabled(false);
    const auto address = m_service.updateAddress(stationId);
    if (!text::trim(address).empty())
        m_base = address;
    if (!text::trim(m_base).empty()) {
        try {
            const auto description = m_ports.http.get(m_base + "/rdpupdate.ini");
            if (!description.ok)
                throw UpdateFailure(description.error);
            m_offered = markerValue(description.body, "Version =", lineEnd, m_ports.yield);
            if (offersNewerVersion(m_setup.localVersion, m_offered) && GetProgramUpdates())
                return;
        } catch (const std::exception&) {
            // Only the status bar tells: the next check comes on schedule.
            m_view.setStatus(communicationsError);
            m_view.setTimerEnabled(true);
            return;
        }
    }
    m_ports.yield.yield();
    m_view.setTimerEnabled(true);
}

bool ProgramUpdates::GetProgramUpdates() {
    m_view.setTimerEnabled(false);
    // Up to the complete installer a failure ends the download quietly: the button, the bar and
    // the status stay as they are, and the next check tries again.
    m_view.setFirstButtonEnabled(false);
    m_view.showProgress();
    m_view.setStatus(downloading);
    const auto description = m_ports.http.get(m_base + "/rdpupdate.ini");
    if (!description.ok)
        return false;
    markerValue(description.body, "Version =", lineEnd, m_ports.yield);
    const auto readMe = markerValue(description.body, "ReadMe=", lineEnd, m_ports.yield);
    markerValue(description.body, "Size=", lineEnd, m_ports.yield);
    std::shared_ptr<SignatureVerifier::Digest> digest;
    if (!m_setup.publicKey.empty())
        digest = m_ports.signatures.blake2b512();
    if (!downloadInstaller(m_base + "/setup.exe", digest))
        return false;

    // Old files go first; none of this may stop the update.
    std::error_code ignored;
    fs::create_directories(installFolder(), ignored);
    if (fs::exists(installFile("setup.exe"), ignored))
        fs::remove(installFile("setup.exe"), ignored);
    if (fs::exists(installFile("readme.txt"), ignored))
        fs::remove(installFile("readme.txt"), ignored);

    std::error_code renamed;
    fs::rename(partialFile(), installFile("Setup.exe"), renamed);
    if (renamed)
        throw UpdateFailure("cannot write " + utf8(installFile("Setup.exe")));
    fs::remove(fs::path(partialFile()) += ".validator", ignored);
    if (!installerTrusted(digest.get()))
        return false;

    const auto notes = m_ports.http.get(readMe);
    if (!notes.ok)
        throw UpdateFailure(notes.error);
    writeBytes(installFile("Readme.txt"), notes.body);

    m_view.setStatus({});
    m_ports.dialogs.message(handOverText, Dialogs::Icon::Critical, Dialogs::Buttons::Ok, handOverTitle);
    // Where programs need the permission to run, the installer gets it; elsewhere this is no-op.
    fs::permissions(installFile("setup.exe"), fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec,
                    fs::perm_options::add, ignored);
    if (!m_ports.processLauncher.start("\"" + utf8(installFile("setup.exe")) + "\"", ProcessLauncher::Show::Maximized))
        throw UpdateFailure("the installer could not be started");
    m_ended = true;
    m_view.endProgram();
    return true;
}

void ProgramUpdates::prepareInstallFolder() {
    const auto ready = [this] {
        std::error_code ignored;
        fs::create_directories(installFolder(), ignored);
        return static_cast<bool>(std::ofstream(partialFile(), std::ios::binary | std::ios::app));
    };
    if (ready())
        return;
    if (!m_userInstallFolder && !m_setup.userFolder.empty()) {
        m_userInstallFolder = true;
        if (ready())
            return;
    }
    // The installer is written as it arrives: a folder that cannot take it is a failed write,
    // which the check reports, not a transfer to retry quietly under "Downloading...".
    throw UpdateFailure("cannot write " + utf8(partialFile()));
}

bool ProgramUpdates::downloadInstaller(const std::string& url, std::shared_ptr<ByteSink> digest) {
    std::error_code ignored;
    prepareInstallFolder();
    const auto partial = partialFile();
    const auto validatorFile = fs::path(partial) += ".validator";

    // What an earlier try left is continued only when the server's validator for it is known.
    FileDownloader::Request request{url, utf8(partial), 0, {}, std::move(digest)};
    if (fs::is_regular_file(partial, ignored) && fs::is_regular_file(validatorFile, ignored)) {
        request.ifRange = readFirstLine(validatorFile);
        const auto kept = fs::file_size(partial, ignored);
        if (!ignored && !request.ifRange.empty())
            request.resumeFrom = kept;
    }
    const auto result = m_ports.downloader.download(request, [this](std::uint64_t received, std::uint64_t total) {
        if (m_view.progressVisible())
            m_view.setProgress(1, static_cast<float>(total), static_cast<float>(received));
    });
    // A part the server cannot continue (it is as long as the file, or longer) is dropped, so
    // that the next check starts over instead of asking for the same impossible range again.
    if (result.status == 416) {
        fs::remove(partial, ignored);
        fs::remove(validatorFile, ignored);
        return false;
    }
    if (result.validator.empty()) {
        fs::remove(validatorFile, ignored);
    } else {
        std::ofstream out(validatorFile, std::ios::binary | std::ios::trunc);
        out << result.validator << '\n';
    }
    return result.ok;
}

bool ProgramUpdates::installerTrusted(SignatureVerifier::Digest* digest) {
    if (m_setup.publicKey.empty())
        return true;
    const auto reason = digest ? refusalOf(*digest) : "its signature cannot be checked";
    if (reason.empty())
        return true;
    std::error_code ignored;
    fs::remove(installFile("setup.exe"), ignored);
    m_view.setStatus(refused + reason);
    return false;
}

std::string ProgramUpdates::refusalOf(SignatureVerifier::Digest& digest) {
    const auto key = minisign::parsePublicKey(m_setup.publicKey);
    if (!key)
        return "the built-in update key is not a minisign public key";
    const auto file = m_ports.http.get(m_base + "/setup.exe.minisig");
    if (!file.ok)
        return "it carries no signature";
    const auto signature = minisign::parseSignature(file.body);
    if (!signature)
        return "its signature file cannot be read";
    if (signature->keyId != key->keyId)
        return "it is signed with another key";
    // The legacy form signs the whole file, which would have to be read once more.
    if (!signature->prehashed)
        return "it is signed in the legacy form, which is not accepted";
    auto& verifier = m_ports.signatures;
    if (!verifier.ed25519(key->key, signature->signature + signature->trustedComment, signature->globalSignature))
        return "the trusted comment of its signature does not verify";
    const auto offered = text::trim(m_offered);
    const auto named = minisign::versionIn(signature->trustedComment);
    if (named.empty())
        return "its signature names no version";
    if (named != offered)
        return "its signature is for version " + named + ", not " + offered;
    if (!verifier.ed25519(key->key, digest.finish(), signature->signature))
        return "the signature does not match the installer";
    return {};
}

} // namespace station
