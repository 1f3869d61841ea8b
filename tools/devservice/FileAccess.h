#pragma once
// Serving files from the files folder: which request paths may name a file, the reports password,
// and reading a file whole.
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace devservice {

/// The file that `relative` (a request path below a mount point, already percent-decoded) names
/// inside `root`, or nothing when it would leave `root` or is not a plain relative path: empty,
/// "." or ".." segments, backslashes, drive colons, NUL bytes and "%" (a second level of encoding)
/// are all refused.
std::optional<std::filesystem::path> resolveInside(const std::filesystem::path& root, std::string_view relative);

/// True when an Authorization header carries HTTP basic credentials `user`:`password`.
bool basicAuthMatches(std::string_view authorization, std::string_view user, std::string_view password);

std::string base64Encode(std::string_view bytes);

/// The whole file, byte for byte; nothing when it is missing, not a regular file or unreadable.
std::optional<std::string> readWholeFile(const std::filesystem::path& path);

} // namespace devservice
