// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// The scene graph of this build. On purpose, OpenSG/ differs in some cases from OpenSG 1.8. Docs/inside/scene-graph.md
/// has the reasons.
#ifdef KT_INSTALLED_OPENSG
constexpr bool isOpenSG18 = true;
#else
constexpr bool isOpenSG18 = false;
#endif

/// What a test expects where both scene graphs differ: that of OpenSG/, or that of OpenSG 1.8.
template <class ValueT>
constexpr ValueT byLibrary(ValueT ours, ValueT ofOpenSG18) {
    return isOpenSG18 ? ofOpenSG18 : ours;
}
