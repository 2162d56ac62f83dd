// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <mpi.h>
#include <string>

/// The file behind the shared memory through which Open MPI's ranks on one machine talk (in /dev/shm). Open MPI removes
/// it when a bake ends; without this class, it stays if the launcher and all ranks are killed.
class ktMpiSegment {
public:
    /// Removes the file; the memory stays. Call after MPI_Init, when all ranks on this machine have mapped it. Without
    /// effect if there is no such file. @param machine the ranks on this machine
    void unlink(MPI_Comm machine);
    /// Makes an empty file of its name, because MPI_Finalize complains if there is none to remove.
    void restore() const;

private:
    std::string path; // empty: none
};
