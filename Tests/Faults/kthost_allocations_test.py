# SPDX-License-Identifier: LGPL-2.1-or-later
"""The module kthost with failing allocations: calls fail with an exception, and the next call works. Arguments: the folder
of the libraries, a scene, every how many allocations one is tested. Needs ktFailingAllocations preloaded. KT_FAULTS_PART=I/N
tests part I of N of them.

A thread's first exception needs memory for variables of the C++ library. Without it, the C library ends the process. Threads
take that memory when they start, before the first bake. A worker that could not start then, as on a very busy machine, may not have
it. Such ends are counted, and the output must be whole all the same. In ktbake, these variables exist from the start.

An exception inside the plug-in's run leaves the host frozen, as the plug-in promises its hosts. The module then refuses
further bakes, and the test goes on in a new process."""
from __future__ import print_function

import ctypes
import os
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.abspath(sys.argv[1]))
import kthost

SCENE, STEP = sys.argv[2], int(os.environ.get("KT_FAULTS_STEP", sys.argv[3]))
PART, PARTS = [int(number) for number in os.environ.get("KT_FAULTS_PART", "0/1").split("/")]
STRIDE = STEP * PARTS
FOR_EVER = 10 ** 9
FROZEN = "a bake is under way"
MOST_ENDS = 1  # of a process, by memory that a thread lacks
shim = ctypes.PyDLL(None)
fail_allocations, end_failures = shim.ktFailAllocations, shim.ktEndFailingAllocations
fail_allocations.argtypes, end_failures.restype = (ctypes.c_long, ctypes.c_long), ctypes.c_long


def bake(output):
    kthost.open(SCENE)
    kthost.settings.quality = 0
    kthost.settings.indirectIllumination = False
    kthost.bake()
    kthost.save(output)


def read(path):
    with open(path, "rb") as opened:
        return opened.read()


def is_frozen():
    try:
        kthost.open(SCENE)
    except kthost.Error as error:
        return FROZEN in str(error)
    return False


def test_from(first, how_many, output):
    """Prints a line for each tested allocation: its number and "baked" or "failed"."""
    kthost.set_quiet(True)
    bake(output)
    expected = read(output)
    fail_allocations(FOR_EVER, 1)
    bake(output)
    count = end_failures()
    assert read(output) == expected and count > 500, count
    print("count", count)
    sys.stdout.flush()
    for number in range(first, count, STRIDE):
        with open(output, "wb") as old:
            old.write(b"old")
        print(number, end=" ")
        sys.stdout.flush()
        error = None
        fail_allocations(number, how_many)
        try:
            bake(output)
            end_failures()
        except (kthost.Error, MemoryError) as caught:
            end_failures()
            error = caught
        found = read(output)
        assert found in (b"old", expected), (number, error)
        assert error is not None or found == expected, number
        assert os.listdir(os.path.dirname(output)) == ["out.glb"], (number, os.listdir(os.path.dirname(output)))
        print("baked" if error is None else "failed")
        sys.stdout.flush()
        if error is not None and is_frozen():
            sys.exit(FROZEN)
    bake(output)
    assert read(output) == expected


def main():
    folder = tempfile.mkdtemp()
    output = os.path.join(folder, "out.glb")
    bake(output)
    expected = read(output)
    for how_many in (1, FOR_EVER):
        first, baked, failed, ended, frozen, count = PART * STEP, 0, 0, 0, 0, None
        while count is None or first < count:
            for name in os.listdir(folder):  # of a process that ended
                os.remove(os.path.join(folder, name))
            process = subprocess.Popen([sys.executable] + sys.argv + [str(first), str(how_many), output],
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            out, err = [text.decode("utf-8", "replace") for text in process.communicate()]
            lines = out.splitlines()
            count = int(lines[0].split()[1])
            baked += sum(line.endswith("baked") for line in lines)
            failed += sum(line.endswith("failed") for line in lines)
            if process.returncode == 0:
                break
            assert any(text in err for text in (FROZEN, "memory for thread-local data")), \
                (process.returncode, lines[-1], err)
            assert read(output) in (b"old", expected), lines[-1]
            if FROZEN in err:
                frozen += 1
            else:
                ended += 1
            first = int(lines[-1].split()[0]) + STRIDE
        tested = baked + failed + ended
        print("kthost, %s: %d of %d allocations tested, %d baked all the same, %d raised an exception (%d froze the host), "
              "%d ended the process" % ("one allocation fails" if how_many == 1 else "all fail from one on", tested, count,
                                        baked, failed, frozen, ended))
        assert failed > 0 and ended <= MOST_ENDS
    shutil.rmtree(folder)


if len(sys.argv) > 4:
    test_from(int(sys.argv[4]), int(sys.argv[5]), sys.argv[6])
else:
    main()
