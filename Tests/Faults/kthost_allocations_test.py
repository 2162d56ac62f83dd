# SPDX-License-Identifier: LGPL-2.1-or-later
"""The module kthost with failing allocations: calls fail with an exception, and the next call works. Arguments: the folder
of the libraries, a scene, every how many allocations one is tested. Needs ktFailingAllocations preloaded."""
from __future__ import print_function

import ctypes
import os
import shutil
import sys
import tempfile

sys.path.insert(0, os.path.abspath(sys.argv[1]))
import kthost

SCENE, STEP = sys.argv[2], int(os.environ.get("KT_FAULTS_STEP", sys.argv[3]))
FOR_EVER = 10 ** 9
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


def main():
    folder = tempfile.mkdtemp()
    output = os.path.join(folder, "out.glb")
    kthost.set_quiet(True)
    bake(output)
    expected = read(output)
    fail_allocations(FOR_EVER, 1)
    bake(output)
    count = end_failures()
    assert read(output) == expected and count > 500, count
    for how_many in (1, FOR_EVER):
        succeeded = failed = 0
        for first in range(0, count, STEP):
            with open(output, "wb") as old:
                old.write(b"old")
            error = None
            fail_allocations(first, how_many)
            try:
                bake(output)
                end_failures()
                succeeded += 1
            except (kthost.Error, MemoryError) as caught:
                end_failures()
                failed += 1
                error = caught
            found = read(output)
            assert found in (b"old", expected), (first, how_many, error)
            assert error is not None or found == expected, (first, how_many)
            assert os.listdir(folder) == ["out.glb"], (first, how_many, os.listdir(folder))
        print("%s: %d of %d allocations tested, %d baked all the same, %d raised an exception" %
              ("One fails" if how_many == 1 else "All from one on fail", succeeded + failed, count, succeeded, failed))
        bake(output)
        assert read(output) == expected
    shutil.rmtree(folder)


main()
