// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

/// SHA-256 of the content of a regular file, in hexadecimal digits; empty if it cannot be read.
QString ktHashOfFile(const QString& path);
