// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Memory for small pieces if the system has none left. ktMemoryReserve.cpp also defines operator new, so a program or
/// a module compiles it itself: it is in no library.
namespace ktMemoryReserve {

/// From now on, operator new takes small pieces from the reserve when the system has no memory. For programs, whose
/// operator new holds for all libraries.
void use() noexcept;

/// The same for a module, unless other modules have loaded the C++ library before it. Then memory may be allocated by
/// one operator new and freed by another, and the reserve is not used.
void useIfPossible();

} // namespace ktMemoryReserve
