// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <boost/python.hpp>
#include <cstdint>
#include <vector>

/// Makes the buffer type known to the interpreter. Once, before the first ktMakeBuffer().
void ktInitBufferType();

/// A read-only memoryview of rows of numbers, which owns them: NumPy takes it without a copy, and it stays good
/// whatever becomes of the scene.
/// @param columns numbers a row; 1 makes it one-dimensional
boost::python::object ktMakeBuffer(std::vector<float> numbers, int columns);
boost::python::object ktMakeBuffer(std::vector<std::uint32_t> numbers, int columns);
