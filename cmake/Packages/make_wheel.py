# SPDX-License-Identifier: LGPL-2.1-or-later
"""Makes a wheel of the modules for scripts, with the project's own libraries.

The libraries of the system are not in it. The wheel names their packages (Requires-External) and is tagged for this
interpreter and linux, because it fits only the release of the distribution that it was built on.
"""
import argparse
import os
import shutil
import subprocess
import sys
import sysconfig
import tempfile

METADATA = """Metadata-Version: 2.1
Name: ktambientocclusion
Version: {version}
Summary: Bakes ambient occlusion and bounced light into the vertices of a scene
License: LGPL-2.1-or-later
Requires-Python: >={minor}, <{next}
{external}Description-Content-Type: text/plain

The modules kthost and ktAmbientOcclusion. This wheel holds the libraries of the project and none of the system. It was built
on {system} and needs its packages:

    apt-get install --no-install-recommends {packages}
"""


def find_requirements(folder, libraries):
    """The Debian packages that the libraries need, such as "libc6 (>= 2.34)"."""
    os.makedirs(os.path.join(folder, "debian"))
    open(os.path.join(folder, "debian", "control"), "w").close()
    found = subprocess.run(["dpkg-shlibdeps", "--ignore-missing-info", "-O"] +
                           ["-l" + os.path.dirname(path) for path in libraries] + libraries,
                           cwd=folder, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout
    return sorted(text.split(" | ")[0] for text in found.strip().split("Depends=", 1)[1].split(", "))


def name_system():
    with open("/etc/os-release") as file:
        facts = dict(line.rstrip().split("=", 1) for line in file if "=" in line)
    return facts["PRETTY_NAME"].strip('"')


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    for option in "build", "version", "cmake", "libraries", "modules", "beside", "licence", "into":
        parser.add_argument("--" + option, required=True)
    given = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        installed = os.path.join(folder, "installed")
        for component in "runtime", "python":
            subprocess.run([given.cmake, "--install", given.build, "--prefix", installed, "--component", component,
                            "--strip"], check=True, stdout=subprocess.DEVNULL)
        content = os.path.join(folder, "content")
        beside = os.path.join(content, given.beside)
        os.makedirs(beside)
        for name in os.listdir(os.path.join(installed, given.libraries)):
            # The plug-in is a module. A wheel has no links, so it is only there.
            shutil.copy(os.path.join(installed, given.libraries, name),
                        content if name.startswith("ktAmbientOcclusion") else beside)
        for name in "kthost.so", "kthost.pyi", "ktAmbientOcclusion.pyi":
            shutil.copy(os.path.join(installed, given.modules, name), content)
        libraries = [os.path.join(place, name) for place, _, names in os.walk(content) for name in names
                     if name.endswith(".so")]
        requirements = find_requirements(folder, libraries)
        about = os.path.join(content, "ktambientocclusion-%s.dist-info" % given.version)
        os.makedirs(about)
        shutil.copy(given.licence, about)
        with open(os.path.join(about, "METADATA"), "w") as file:
            file.write(METADATA.format(
                version=given.version, minor="3.%d" % sys.version_info[1], next="3.%d" % (sys.version_info[1] + 1),
                external="".join("Requires-External: %s\n" % text for text in requirements), system=name_system(),
                packages=" ".join(text.split(" ")[0] for text in requirements)))
        python = "cp%d%d" % sys.version_info[:2]
        with open(os.path.join(about, "WHEEL"), "w") as file:
            file.write("Wheel-Version: 1.0\nGenerator: ktAmbientOcclusion\nRoot-Is-Purelib: false\nTag: %s-%s-%s\n" % (
                python, python, sysconfig.get_platform().replace("-", "_")))
        subprocess.run([sys.executable, "-m", "wheel", "pack", "--dest-dir", given.into, content], check=True)


main()
