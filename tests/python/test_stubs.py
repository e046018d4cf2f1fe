"""The type stubs describe the module as it is: every class, property,
method and function of each, with the same parameter names."""

import ast
import inspect
import pathlib
import re

import lacewright
from lacewright import _lacewright

STUBS = pathlib.Path(lacewright.__file__).with_name("_lacewright.pyi")


def stub_members() -> dict[str, set[str]]:
    tree = ast.parse(STUBS.read_text())
    members = {"": set()}
    for node in tree.body:
        if isinstance(node, ast.ClassDef):
            members[node.name] = {item.name for item in node.body if isinstance(item, ast.FunctionDef)}
        elif isinstance(node, ast.FunctionDef):
            members[""].add(node.name)
    return members


def stub_parameters() -> dict[str, list[str]]:
    tree = ast.parse(STUBS.read_text())
    parameters = {}
    for node in ast.walk(tree):
        if isinstance(node, ast.FunctionDef):
            arguments = node.args.posonlyargs + node.args.args + node.args.kwonlyargs
            parameters[node.name] = [a.arg for a in arguments if a.arg != "self"]
    return parameters


def module_parameters(function) -> list[str]:
    # pybind11 writes each function's signature as the first line of its
    # documentation: "name(self: T, *, a: A = ..., ...) -> R".
    signature = function.__doc__.splitlines()[0]
    inside = signature[signature.index("(") + 1: signature.rindex(") ->")]
    names = re.findall(r"(?:^|, )(\*|\w+)(?=: |$|,)", inside)
    return [n for n in names if n not in ("self", "*")]


def test_the_stubs_name_every_member_of_the_module():
    stubs = stub_members()
    module = {name: value for name, value in vars(_lacewright).items() if not name.startswith("__")}
    classes = {name for name, value in module.items() if inspect.isclass(value)}
    functions = {name for name, value in module.items() if callable(value) and not inspect.isclass(value)}
    assert classes == set(stubs) - {""}
    assert functions == stubs[""]
    for name in classes - {n for n in classes if issubclass(module[n], Exception)}:
        members = {m for m in vars(module[name]) if not m.startswith("_")}
        assert members == stubs[name], name


def test_the_stubs_give_each_function_its_parameters():
    parameters = stub_parameters()
    for name, function in [("_align", _lacewright._align), ("_detect_control_points",
                                                           _lacewright._detect_control_points),
                           ("write", _lacewright.Alignment.write)]:
        assert module_parameters(function) == parameters[name], name
