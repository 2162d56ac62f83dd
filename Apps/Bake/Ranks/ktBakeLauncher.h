// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

/// How a launcher (mpirun, srun with MPI) has started this process.
struct ktBakeLauncher {
    int rank = 0; ///< of this process
    int size = 1; ///< number of processes; 1: there is no launcher, or nothing to share

    /// Reads what launchers set in the environment: Open MPI's mpirun, PMI (also of srun), PMIx below Slurm.
    static ktBakeLauncher find();
};

/// The name of this machine.
std::string ktHostName();

/// Whether the command line has `--ranks off`: known before the options are parsed.
bool ktAreRanksOff(const std::vector<std::string>& arguments);

/// Divides a process that a launcher has started: the child goes on, and this process waits for it. If a signal ends
/// the child, it says so on standard error, with rank and host, and ends with exit code 1, so that the launcher ends
/// all ranks. Signals that ask to end are passed on. If this process is killed, so is the child. Returns in the child
/// only; without effect if no process can be started. No other thread may run yet. Standard output and standard error
/// of ranks other than 0 are closed.
void ktGuardRank(const ktBakeLauncher& launcher);

/// Writes a line to the standard error that this process had before ktGuardRank().
void ktSayAsRank(const ktBakeLauncher& launcher, const std::string& reason);
