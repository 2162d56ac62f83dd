// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>
#include <string>

/// The format of a file as the ending that Assimp knows it by, such as "obj": the file's own ending, or, if no importer
/// has that one, what the first bytes of the file show. Throws ktFileError (object "file") if the file cannot be
/// imported; the reason names what can convert it, if the format is known.
std::string ktFindImportFormat(const QString& path);
