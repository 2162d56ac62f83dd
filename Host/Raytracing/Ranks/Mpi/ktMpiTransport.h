// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>

class ktTransport;

/// File name of the module; it is in the folder of the host's library.
constexpr char ktMpiModuleName[] = "ktRanksMpi.so";
/// Name of the function below in the module.
constexpr char ktOpenMpiName[] = "ktOpenMpi";

/// Starts MPI. Call at most once in a process; all ranks must call it.
/// @param reason      receives why it failed
/// @param reasonSize  of that text, with its end
/// @return null if it failed; belongs to the caller
using ktOpenMpiFunction = ktTransport* (*)(char* reason, std::size_t reasonSize);
