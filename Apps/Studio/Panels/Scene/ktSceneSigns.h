// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QIcon>

/// Signs for the headers of narrow columns, in the text colour of the window.
namespace ktSceneSigns {

QIcon shown();    ///< an eye
QIcon locked();   ///< a padlock
QIcon settings(); ///< two sliders

} // namespace ktSceneSigns
