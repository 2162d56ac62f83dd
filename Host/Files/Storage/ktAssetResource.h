// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <QByteArray>
#include <QString>
#include <string>
#include <vector>

using ktBytes = std::vector<std::uint8_t>;

/// Throws ktFileError that names `object` if `path` is not a regular file.
void ktCheckReadable(const QString& path, const std::string& object);
/// The content of a regular file. Throws ktFileError that names `object`.
ktBytes ktReadWholeFile(const QString& path, const std::string& object);

/// The path of a regular file by a name that may differ from it in upper and lower case, as names do that come from
/// Windows. An exact name comes first. Empty if there is no such file. Does not throw.
/// @param path absolute, or relative to the current folder; slashes separate the parts
std::optional<std::string> ktFindIgnoringCase(const std::string& path);

/// Whether a URI contains its data ("data:").
bool ktIsDataUri(const std::string& uri);
/// The data of a data URI, base64 or percent-encoded. Throws ktFileError that names `object`.
ktBytes ktDecodeDataUri(const std::string& uri, const std::string& object);
/// A data URI of type application/octet-stream. Throws ktFileError beyond 1 GiB.
std::string ktEncodeDataUri(const std::uint8_t* data, std::size_t size, const std::string& object);

/// Converts an asset's URI to a relative path: decodes percent-encoding, uses forward slashes. Throws ktFileError that
/// names `object` if the URI has a scheme, is absolute or leads outside with "..".
QString ktDecodeAssetUri(const std::string& uri, const std::string& object);
/// The absolute path of a file that an asset in `folder` names by a URI. Throws ktFileError that names `object` as
/// above, and if the file is missing or a link leads outside the folder. The name may differ in upper and lower case.
QString ktResolveAssetUri(const QString& folder, const std::string& uri, const std::string& object);
/// A relative path as a URI, percent-encoded where needed.
std::string ktEncodeAssetUri(const QString& relativePath);

/// First 12 hexadecimal digits of the SHA-256 of some bytes, for file names that identify the content.
QString ktHashContent(const std::uint8_t* data, std::size_t size);
