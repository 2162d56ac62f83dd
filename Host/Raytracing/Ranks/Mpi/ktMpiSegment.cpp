// SPDX-License-Identifier: LGPL-2.1-or-later
// Removes the name of Open MPI's shared memory, so that nothing is left of a bake that is killed.
#include "ktMpiSegment.h"

#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <unistd.h>

namespace {

constexpr char segmentName[] = "/vader_segment.";

} // namespace

void ktMpiSegment::unlink(MPI_Comm machine) {
    int rank = 0;
    if (machine == MPI_COMM_NULL || MPI_Comm_rank(machine, &rank) != MPI_SUCCESS)
        return;
    // The names of all segments end in the number of their rank.
    const std::string ending = "." + std::to_string(rank);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        const std::size_t name = line.find(segmentName), begin = line.find('/');
        if (name == std::string::npos || line.size() < ending.size() ||
            line.compare(line.size() - ending.size(), ending.size(), ending) != 0)
            continue;
        path = line.substr(begin);
        ::unlink(path.c_str());
        return;
    }
}

void ktMpiSegment::restore() const {
    if (path.empty())
        return;
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file >= 0)
        close(file);
}
