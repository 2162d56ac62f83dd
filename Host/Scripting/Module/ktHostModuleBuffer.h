// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <boost/python.hpp>
#include <cstdint>
#include <vector>

/// Registers the buffer type with the interpreter. Call once, before the first ktMakeBuffer().
void ktInitBufferType();

/// Returns a read-only memoryview of rows of numbers, which NumPy uses without a copy. It owns the numbers, so it stays
/// valid when the scene changes.
/// @param columns numbers per row; 1 makes it one-dimensional
boost::python::object ktMakeBuffer(std::vector<float> numbers, int columns);
boost::python::object ktMakeBuffer(std::vector<std::uint32_t> numbers, int columns);
