// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

/// How the windows look and which language they speak. Main thread, after the application object.
namespace ktAppearance {

/// "system" (the desktop's style), "light" or "dark".
void setColors(const QString& name);
/// Translates the texts of windows that are made from now on. @param language "en", "de", or empty: the user's locale
/// @return the language that was taken
QString setLanguage(const QString& language);
/// Both as the preferences say.
void load();

} // namespace ktAppearance
