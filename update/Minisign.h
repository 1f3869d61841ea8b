#pragma once
// Release signatures as minisign writes them: its public key text and its ".minisig" file, read
// without judging them. Checking them (the key id, both Ed25519 signatures, the release named in
// the trusted comment) is ProgramUpdates' part.
#include <optional>
#include <string>
#include <string_view>

namespace station::minisign {

struct PublicKey {
    std::string keyId; ///< 8 bytes
    std::string key;   ///< 32 bytes of Ed25519 public key
};

/// The key in `text`: what `minisign -G` writes (a comment line, then the base64 line), or the
/// base64 line alone. Nothing when it is neither.
std::optional<PublicKey> parsePublicKey(std::string_view text);

struct Signature {
    /// True for the form that signs the BLAKE2b-512 digest of the file; false for the legacy
    /// form, which signs the file's bytes themselves.
    bool prehashed = false;
    std::string keyId;           ///< 8 bytes
    std::string signature;       ///< 64 bytes
    std::string trustedComment;  ///< the text after "trusted comment: ", without the line end
    std::string globalSignature; ///< 64 bytes over `signature` followed by `trustedComment`
};

/// The four lines of a ".minisig" file (line ends LF or CR LF). Nothing when they are not.
std::optional<Signature> parseSignature(std::string_view text);

/// The release a trusted comment names: the value of its field "version=" (fields are parted by
/// blanks or tabs). Empty when it names none.
std::string versionIn(std::string_view trustedComment);

/// The bytes of base64 `text`; nothing when it is not base64.
std::optional<std::string> decodeBase64(std::string_view text);

} // namespace station::minisign
