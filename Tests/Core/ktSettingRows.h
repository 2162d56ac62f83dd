// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAmbientOcclusionSettings.h"

#include <type_traits>

/// A value in the row's range that is not the initial one.
template <class Row>
typename Row::Value otherThanInitial(Row row) {
    using Value = typename Row::Value;
    if constexpr (std::is_base_of_v<ktAmbientOcclusionSettings::Switch, Row>)
        return !row.initial;
    else if constexpr (std::is_base_of_v<ktAmbientOcclusionSettings::Integer, Row>)
        return row.initial < row.range.most ? row.initial + 1 : row.initial - 1;
    else if constexpr (std::is_base_of_v<ktAmbientOcclusionSettings::Color, Row>)
        return osg::Color3f(0.125f, 0.25f, 0.5f);
    else
        return row.initial + 0.5 <= row.range.most ? row.initial + Value(0.5) : Value(0.25);
}
