// SPDX-License-Identifier: LGPL-2.1-or-later
// Tells by content whether files are the same.
#include "ktFileHash.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

QString ktHashOfFile(const QString& path) {
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly) || !hash.addData(&file))
        return {};
    return QString::fromLatin1(hash.result().toHex());
}
