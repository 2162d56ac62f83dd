// SPDX-License-Identifier: LGPL-2.1-or-later
// Resolves an asset's URIs safely, reads and writes data URIs, and names content by its hash.
#include "ktAssetResource.h"

#include "ktFileError.h"
#include "ktReadInterrupt.h"
#include "ktReadProgress.h"
#include "ktReadRecord.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <set>
#include <system_error>

namespace fs = std::filesystem;

namespace {

const std::size_t gibibyte = std::size_t(1) << 30;
const std::size_t readAtOnce = std::size_t(1) << 24; // bytes

bool hasScheme(const std::string& uri) {
    const std::size_t colon = uri.find(':');
    if (colon == std::string::npos || colon == 0 || !std::isalpha(static_cast<unsigned char>(uri[0])))
        return false;
    return std::all_of(uri.begin(), uri.begin() + static_cast<std::ptrdiff_t>(colon),
                       [](unsigned char c) { return std::isalnum(c) || c == '+' || c == '-' || c == '.'; });
}

} // namespace

void ktCheckReadable(const QString& path, const std::string& object) {
    ktReadRecord::add(path);
    const QFileInfo info(path);
    const std::string name = object == "file" ? std::string() : "'" + path.toStdString() + "' ";
    if (!info.exists())
        throw ktFileError(object, name + "does not exist");
    if (!info.isFile())
        throw ktFileError(object, name + "is not a regular file");
}

ktBytes ktReadWholeFile(const QString& path, const std::string& object) {
    ktCheckReadable(path, object);
    const std::string name = object == "file" ? std::string() : "'" + path.toStdString() + "' ";
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw ktFileError(object, name + "cannot be opened: " + file.errorString().toStdString());
    ktBytes bytes(static_cast<std::size_t>(file.size()));
    std::size_t done = 0;
    while (done < bytes.size()) {
        ktReadInterrupt::check();
        const qint64 got = file.read(reinterpret_cast<char*>(bytes.data()) + done,
                                     static_cast<qint64>(std::min(bytes.size() - done, readAtOnce)));
        if (got <= 0)
            throw ktFileError(object, name + "cannot be read: " + file.errorString().toStdString());
        done += static_cast<std::size_t>(got);
        ktReadProgress::tell(done, bytes.size());
    }
    return bytes;
}

std::optional<std::string> ktFindIgnoringCase(const std::string& path) {
    std::error_code error;
    const fs::path wanted(path);
    if (fs::is_regular_file(wanted, error))
        return path;
    fs::path found = wanted.root_path();
    for (const fs::path& part : wanted.relative_path()) {
        if (part == "." || part == ".." || fs::exists(found / part, error)) {
            found /= part;
            continue;
        }
        const QString name = QString::fromStdString(part.string());
        std::set<fs::path> fitting; // sorted, so that the choice does not depend on the order in the folder
        for (fs::directory_iterator entry(found.empty() ? "." : found, error), end; !error && entry != end;
             entry.increment(error))
            if (QString::fromStdString(entry->path().filename().string()).compare(name, Qt::CaseInsensitive) == 0)
                fitting.insert(entry->path().filename());
        if (fitting.empty())
            return std::nullopt;
        found /= *fitting.begin();
    }
    return fs::is_regular_file(found, error) ? std::make_optional(found.string()) : std::nullopt;
}

bool ktIsDataUri(const std::string& uri) {
    return uri.compare(0, 5, "data:") == 0;
}

ktBytes ktDecodeDataUri(const std::string& uri, const std::string& object) {
    const std::size_t comma = uri.find(',');
    if (comma == std::string::npos)
        throw ktFileError(object, "data URI without data");
    const std::size_t size = uri.size() - comma - 1;
    if (size > gibibyte)
        throw ktFileError(object, "data URI of more than 1 GiB");
    const QByteArray text = QByteArray::fromRawData(uri.data() + comma + 1, static_cast<int>(size));
    QByteArray data;
    if (comma >= 7 && uri.compare(comma - 7, 7, ";base64") == 0) {
        const auto decoded = QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            throw ktFileError(object, "data URI is not valid base64");
        data = decoded.decoded;
    } else {
        data = QByteArray::fromPercentEncoding(text);
    }
    return ktBytes(data.begin(), data.end());
}

std::string ktEncodeDataUri(const std::uint8_t* data, std::size_t size, const std::string& object) {
    if (size > gibibyte)
        throw ktFileError(object, "more than 1 GiB does not fit into a data URI");
    const QByteArray raw = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<int>(size));
    return "data:application/octet-stream;base64," + raw.toBase64().toStdString();
}

QString ktDecodeAssetUri(const std::string& uri, const std::string& object) {
    if (hasScheme(uri))
        throw ktFileError(object, "URI '" + uri.substr(0, 80) + "' is not relative to the file");
    QString path = QString::fromUtf8(QByteArray::fromPercentEncoding(QByteArray::fromStdString(uri)));
    path.replace('\\', '/');
    if (path.isEmpty() || path.contains(QChar(0)))
        throw ktFileError(object, "URI is empty or not a file name");
    if (path.startsWith('/') || (path.size() > 1 && path[1] == ':'))
        throw ktFileError(object, "URI '" + uri.substr(0, 80) + "' is an absolute path");
    if (path.split('/').contains(QStringLiteral("..")))
        throw ktFileError(object, "URI '" + uri.substr(0, 80) + "' leads outside the file's folder");
    return QDir::cleanPath(path);
}

QString ktResolveAssetUri(const QString& folder, const std::string& uri, const std::string& object) {
    const QString relative = ktDecodeAssetUri(uri, object);
    QFileInfo info(QDir(folder).absoluteFilePath(relative));
    ktReadRecord::add(info.absoluteFilePath());
    if (!info.exists())
        if (const auto found = ktFindIgnoringCase(info.absoluteFilePath().toStdString()))
            info.setFile(QString::fromStdString(*found));
    if (!info.exists())
        throw ktFileError(object, "'" + relative.toStdString() + "' does not exist");
    const QString inside = QFileInfo(folder).canonicalFilePath();
    const QString canonical = info.canonicalFilePath();
    if (!canonical.startsWith(inside.endsWith('/') ? inside : inside + '/'))
        throw ktFileError(object, "'" + relative.toStdString() + "' is a link that leads outside the file's folder");
    return info.absoluteFilePath();
}

std::string ktEncodeAssetUri(const QString& relativePath) {
    return QUrl::toPercentEncoding(relativePath, "/!$&'()*+,;=@").toStdString();
}

QString ktHashContent(const std::uint8_t* data, std::size_t size) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    // Qt's lengths are int.
    for (std::size_t done = 0; done < size;) {
        const std::size_t part = std::min(size - done, gibibyte);
        hash.addData(reinterpret_cast<const char*>(data) + done, static_cast<int>(part));
        done += part;
    }
    return QString::fromLatin1(hash.result().toHex().left(12));
}
