# SPDX-License-Identifier: LGPL-2.1-or-later
"""Compares the stubs with the modules, Python 3. Argument: the folder of the libraries."""
import ast
import inspect
import os
import unittest

from script_host import LIBRARIES, ao, kthost


def read_stub(name):
    """The top nodes of a stub by name."""
    with open(os.path.join(LIBRARIES, name + ".pyi")) as stub:
        tree = ast.parse(stub.read())
    named = {}
    for node in tree.body:
        if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
            named[node.name] = node
        elif isinstance(node, ast.AnnAssign):
            named[node.target.id] = node
    return named


def parameters(function):
    """Names and defaults of a function in a stub."""
    names = [argument.arg for argument in function.args.args]
    defaults = [ast.literal_eval(default) for default in function.args.defaults]
    return list(zip(names, [inspect.Parameter.empty] * (len(names) - len(defaults)) + defaults))


def public(names):
    return {name for name in names if not name.startswith("_") or name == "__version__"}


class HostStub(unittest.TestCase):
    stub = read_stub("kthost")

    def test_names(self):
        self.assertEqual(public(self.stub), public(dir(kthost)))

    def test_signatures(self):
        for name, node in self.stub.items():
            if isinstance(node, ast.FunctionDef):
                found = [(p.name, p.default) for p in inspect.signature(getattr(kthost, name)).parameters.values()]
                self.assertEqual(found, parameters(node), name)

    def test_every_function_has_a_signature(self):
        for name in public(dir(kthost)):
            if inspect.isroutine(getattr(kthost, name)):
                inspect.signature(getattr(kthost, name))
        self.assertEqual(str(inspect.signature(kthost.settings)), "()")

    def test_nodes(self):
        members = {member.name for member in self.stub["Node"].body}
        self.assertEqual(members, public(dir(kthost.Node)))

    def test_settings_are_those_of_the_table(self):
        annotations = {member.target.id: member.annotation.id for member in self.stub["Settings"].body
                       if isinstance(member, ast.AnnAssign)}
        self.assertEqual(annotations, {name: type(value).__name__ for name, value in kthost.settings().items()})
        self.assertEqual(list(annotations), list(kthost.settings()))
        self.assertEqual(public(dir(kthost.settings)), set(annotations))


class PluginStub(unittest.TestCase):
    stub = read_stub("ktAmbientOcclusion")

    def test_names(self):
        self.assertEqual(public(self.stub), public(dir(ao)))

    def test_arguments_are_those_of_the_help(self):
        for name, node in self.stub.items():
            if not isinstance(node, ast.FunctionDef):
                continue
            words = [line.split(":")[0][len("@param "):] for line in getattr(ao, name).__doc__.split("\n")
                     if line.startswith("@param ")]
            self.assertEqual([parameter for parameter, default in parameters(node)], words, name)

    def test_arguments_are_settings(self):
        of_table = {name: type(value).__name__ for name, value in kthost.settings().items() if name != "mode"}
        for name in ("computeAmbientOcclusion", "computeMissingAmbientOcclusion"):
            found = {argument.arg: argument.annotation.id for argument in self.stub[name].args.args}
            self.assertEqual(found, of_table, name)

    def test_defaults_are_those_of_the_call(self):
        for name, count in (("computeAmbientOcclusion", 9), ("computeMissingAmbientOcclusion", 10)):
            node = self.stub[name]
            given = {"quality": 0, "minDistance": 1.0, "maxDistance": 10.0, "indirectIllumination": False,
                     "colorBleeding": False, "gatherQuality": 0, "numIndirections": 1, "subdivide": False,
                     "minEdgeLength": 1.0, "intensityThreshold": 0.25}
            getattr(ao, name)(*[given[p] for p, default in parameters(node)[:count]])
            for parameter, default in parameters(node)[count:]:
                self.assertAlmostEqual(kthost.settings()[parameter], default, 6, parameter)


if __name__ == "__main__":
    unittest.main()
