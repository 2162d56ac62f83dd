// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

/// Sentences about the scene that other rooms say in English, in the language of the window. Lengths in them stay, with
/// the decimal point of the language. A sentence without a translation stays as it is.
/// @param text sentences with blanks between them
QString ktTranslateSentences(const QString& text);
