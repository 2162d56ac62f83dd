// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <mpi.h>

/// Memory that all ranks of one machine share, through which rank 0 sends the same bytes to all others: a ring of
/// 4 MiB. A rank copies them as soon as they are there. Open MPI's own way to another process of the machine needs a
/// turn of both processes for each 96 kB, and on busy cores each turn takes a millisecond.
/// All functions are for the thread that calls MPI.
class ktMpiSharedRing {
public:
    /// All ranks call this after MPI_Init. @param machine the ranks on this machine; must outlive the ring
    /// @return whether there is a ring: all ranks are on one machine, and each has the memory. The same on all ranks
    bool open(MPI_Comm machine);
    /// All ranks call this before MPI_Finalize. Without effect if there is no ring.
    void close();
    bool isOpen() const { return counters != nullptr; }

    /// Rank 0. Writes as many bytes as there is space for, at most 256 KiB. @return their number
    std::size_t write(const char* bytes, std::size_t size);
    /// The other ranks. Reads as many bytes as there are. @return their number
    std::size_t read(char* bytes, std::size_t size);

private:
    struct Counter;

    MPI_Win window = MPI_WIN_NULL;
    // In the window; null: no ring. Bytes that a rank has read, and for rank 0, that it has written.
    Counter* counters = nullptr;
    char* content = nullptr;
    int rank = 0, rankCount = 0;
};
