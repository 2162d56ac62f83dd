# SPDX-License-Identifier: LGPL-2.1-or-later
"""The module kthost with failing calls of the system: each bake ends with an exception or the whole file, and the next one
works. Arguments: the folder of the libraries, a scene, every how many failures one is tested. Needs ktFailingSystemCalls
preloaded."""
from __future__ import print_function

import ctypes
import errno
import os
import shutil
import sys
import tempfile

sys.path.insert(0, os.path.abspath(sys.argv[1]))
import kthost

SCENE, STEP = sys.argv[2], int(os.environ.get("KT_FAULTS_STEP", sys.argv[3]))
CALLS = (("open", (errno.EMFILE, errno.EACCES)), ("mmap", (errno.ENOMEM,)), ("write", (errno.ENOSPC, errno.EIO)),
         ("fsync", (errno.EIO,)), ("close", (errno.EIO,)), ("rename", (errno.EIO,)), ("pthread_create", (errno.EAGAIN,)))
FOR_EVER = 10 ** 9
shim = ctypes.PyDLL(None)
fail_calls, end_failures = shim.ktFailCalls, shim.ktEndFailingCalls
fail_calls.argtypes = (ctypes.c_char_p, ctypes.c_long, ctypes.c_long, ctypes.c_int)
end_failures.restype = ctypes.c_long


def bake(output):
    kthost.open(SCENE)
    kthost.settings.quality = 0
    kthost.bake()
    kthost.save(output)


def read(path):
    with open(path, "rb") as opened:
        return opened.read()


def attempt(output, call, number, how_many, error):
    """Bakes with failures. The exception, or None."""
    with open(output, "wb") as old:
        old.write(b"old")
    fail_calls(call.encode(), number, how_many, error)
    try:
        bake(output)
        return None
    except (kthost.Error, MemoryError) as caught:
        return caught
    finally:
        end_failures()


def main():
    kthost.set_quiet(True)
    folder = tempfile.mkdtemp()
    output = os.path.join(folder, "out.glb")
    bake(output)
    expected, place = read(output), 0
    for call, errors in CALLS:
        fail_calls(call.encode(), FOR_EVER, 1, 0)
        bake(output)
        count = end_failures()
        baked = failed = 0
        for error, how_many, number in [(e, h, n) for e in errors for h in (1, FOR_EVER) for n in range(count)]:
            place += 1
            if place % STEP:
                continue
            raised = attempt(output, call, number, how_many, error)
            found, which = read(output), (call, number, how_many, error, raised)
            assert found in (b"old", expected), which
            assert raised is not None or found == expected, which
            assert raised is None or str(raised), which
            assert os.listdir(folder) == ["out.glb"], (which, os.listdir(folder))
            bake(output)
            assert read(output) == expected, which
            baked, failed = baked + (raised is None), failed + (raised is not None)
        print("kthost, %s: %d of %d failures tested, %d baked all the same, %d raised an exception"
              % (call, baked + failed, 2 * count * len(errors), baked, failed))
        sys.stdout.flush()
    shutil.rmtree(folder)


main()
