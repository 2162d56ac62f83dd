# SPDX-License-Identifier: LGPL-2.1-or-later
"""The module kthost after TBB had no memory to begin with its tasks: the call fails with an exception, the next one works, and
the process ends by itself. Arguments: the folder of the libraries, a scene. Needs ktFailingAllocations preloaded."""
from __future__ import print_function

import os
import shutil
import subprocess
import sys
import tempfile

SCENE = sys.argv[2]


def bake_and_draw(folder):
    """The exceptions of two bakes with a picture."""
    sys.path.insert(0, os.path.abspath(sys.argv[1]))
    import kthost

    errors = []
    for name in ("first.png", "second.png"):
        try:
            kthost.open(SCENE)
            kthost.settings.quality = 0
            kthost.settings.indirectIllumination = False
            kthost.bake()
            kthost.preview(os.path.join(folder, name), 32, 32)
            errors.append(None)
        except (kthost.Error, MemoryError) as error:
            errors.append("out of memory" if isinstance(error, MemoryError) else str(error))
    return errors


def main():
    folder = tempfile.mkdtemp()
    process = subprocess.Popen([sys.executable] + sys.argv + [folder], env=dict(os.environ, KT_FAILING_ARENA="14"),
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    out, err = [text.decode("utf-8", "replace") for text in process.communicate()]
    assert process.returncode == 0, (process.returncode, out, err)
    first, second = out.splitlines()[-2:]
    assert "out of memory" in first and second == "None", (out, err)
    assert os.listdir(folder) == ["second.png"], os.listdir(folder)
    shutil.rmtree(folder)


if len(sys.argv) > 3:
    print("\n".join(str(text) for text in bake_and_draw(sys.argv[3])))
else:
    main()
