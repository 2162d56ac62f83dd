// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakeOptionInfo.h"

#include <QByteArray>

/// Describes the options of ktbake and the settings of the calculation as JSON. Programs that call ktbake make their
/// controls from it. `options` lists every option. `settings` lists the settings in the order of `ktbake --help`, with
/// the option that sets each (without --), types, ranges and defaults; lengths are in millimetres.
QByteArray makeSettingsList(const std::vector<ktBakeOptionInfo>& options);
