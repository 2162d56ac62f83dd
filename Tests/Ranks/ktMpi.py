# SPDX-License-Identifier: LGPL-2.1-or-later
"""Starts ktbake with mpirun, for the tests beside this file."""
import os
import shutil
import socket
import subprocess
import tempfile

# As root, with more ranks than cores, and without a network: what a bare system and a container need.
ENVIRONMENT = dict(os.environ, OMPI_ALLOW_RUN_AS_ROOT="1", OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1",
                   OMPI_MCA_btl="self,vader", OMPI_MCA_rmaps_base_oversubscribe="1",
                   OMPI_MCA_hwloc_base_binding_policy="none")
for name in list(ENVIRONMENT):
    if name.startswith(("SLURM_", "PMI_", "PMIX_")):
        del ENVIRONMENT[name]
HOST = socket.gethostname()


def children(pid):
    try:
        with open("/proc/%d/task/%d/children" % (pid, pid)) as file:
            return [int(word) for word in file.read().split()]
    except OSError:
        return []


class Bakes:
    """Bakes in a temporary folder."""

    def __init__(self, mpirun, ktbake):
        self.mpirun, self.ktbake = mpirun, ktbake
        self.temporary = tempfile.TemporaryDirectory(prefix="ktMpi-")
        self.folder = self.temporary.name
        # mpirun keeps sockets here; their paths must be short.
        self.environment = dict(ENVIRONMENT, KT_PREFERENCES_DIR=self.folder + "/", TMPDIR=self.folder)
        # Shared memory of this bake only: others may run at the same time.
        self.memory = os.path.join("/dev/shm", os.path.basename(self.folder))
        self.environment["OMPI_MCA_btl_vader_backing_directory"] = self.memory
        os.makedirs(self.memory)

    def cleanup(self):
        self.temporary.cleanup()
        shutil.rmtree(self.memory, ignore_errors=True)

    def command(self, ranks, arguments):
        """Without ranks: the plain program."""
        if not ranks:
            return [self.ktbake] + arguments
        # Open MPI leaks, and unloads the modules that did, so that the address sanitizer cannot be told to ignore them.
        return [self.mpirun, "-n", str(ranks), "-x", "ASAN_OPTIONS=detect_leaks=0", self.ktbake] + arguments

    def run(self, ranks, *arguments):
        """Returns the exit code and standard error."""
        return self.run_aloud(ranks, *arguments, "--quiet")

    def run_aloud(self, ranks, *arguments):
        """Likewise, with all messages."""
        done = subprocess.run(self.command(ranks, list(arguments)), cwd=self.folder, env=self.environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        return done.returncode, done.stderr.decode(errors="replace")

    def start(self, ranks, arguments):
        return subprocess.Popen(self.command(ranks, arguments), cwd=self.folder, env=self.environment,
                                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)

    def path(self, name):
        return os.path.join(self.folder, name)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content)
