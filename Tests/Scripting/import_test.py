# SPDX-License-Identifier: LGPL-2.1-or-later
"""Imports both modules into a plain interpreter. Argument: the folder of the libraries. The modules must come from
that folder, even if others are installed."""
from __future__ import print_function

import os
import subprocess
import sys

SCRIPT = """
import ktAmbientOcclusion, kthost
ktAmbientOcclusion.setAmbientOcclusionMode(ktAmbientOcclusion.KT_AO_MODE_SHADOWS)
print('|' + '|'.join([ktAmbientOcclusion.__file__, kthost.__file__, str(kthost.settings()['mode'])]))
"""


def main():
    folder = os.path.realpath(sys.argv[1])
    for script in (SCRIPT, SCRIPT.replace("ktAmbientOcclusion, kthost", "kthost, ktAmbientOcclusion")):
        environment = dict(os.environ, PYTHONPATH=folder)
        process = subprocess.Popen([sys.executable, "-c", script], cwd="/", env=environment, stdout=subprocess.PIPE)
        output = process.communicate()[0].decode("utf-8")
        assert process.returncode == 0, (process.returncode, output)
        files = output.split("|")
        for path in files[1:3]:
            assert os.path.realpath(os.path.dirname(path)) == folder, path
        assert files[3].strip() == "1", output
    print("imported from", folder)


if __name__ == "__main__":
    main()
