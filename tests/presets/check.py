#!/usr/bin/python3
"""Holds CMakePresets.json to what its users count on.

    check.py CMAKE ROOT

Every way to configure the project can be built by the name of its configure preset, tested by that
name if it has tests, and done from start to end by the workflow of that name. It has its folder in
build/, writes compile_commands.json, says what it is, and is in CONTRIBUTING.md.
"""

import json
import pathlib
import re
import subprocess
import sys


def visible(presets):
    return {preset["name"]: preset for preset in presets if not preset.get("hidden", False)}


def parents(preset):
    names = preset.get("inherits", [])
    return [names] if isinstance(names, str) else names


def resolve(preset, presets):
    """A configure preset with what it inherits; what comes first wins."""
    resolved = dict(preset)
    for name in parents(preset):
        inherited = resolve(presets[name], presets)
        variables = {**inherited.get("cacheVariables", {}), **resolved.get("cacheVariables", {})}
        resolved = {**inherited, **resolved, "cacheVariables": variables}
    return resolved


def expected_steps(name, has_tests):
    kinds = ["configure", "build", *(["test"] if has_tests else [])]
    return [{"type": kind, "name": name} for kind in kinds]


def faults(file, listed_workflows, document):
    configure = file["configurePresets"]
    by_name = {preset["name"]: preset for preset in configure}
    presets = {name: resolve(by_name[name], by_name) for name in visible(configure)}
    tested = {
        name for name, preset in presets.items()
        if preset["cacheVariables"]["NURICCL_BUILD_TESTS"] == "ON"
    }
    workflows = visible(file["workflowPresets"])
    for kind, names in (("build", set(presets)), ("test", tested)):
        there = visible(file[f"{kind}Presets"])
        if set(there) != names:
            yield f"{kind} presets are {sorted(there)} instead of {sorted(names)}"
        for name, preset in there.items():
            if preset["configurePreset"] != name:
                yield f"{kind} preset {name} goes with {preset['configurePreset']}"
    if not set(workflows) == set(presets) == listed_workflows:
        yield f"workflows are {sorted(workflows)} instead of {sorted(presets)}"
        yield f"and CMake knows {sorted(listed_workflows)}"
    for name, workflow in workflows.items():
        if workflow["steps"] != expected_steps(name, name in tested):
            yield f"workflow {name} has the steps {workflow['steps']}"
    for name, preset in presets.items():
        if preset["binaryDir"] != "${sourceDir}/build/${presetName}":
            yield f"{name} is built in {preset['binaryDir']}"
        if preset["cacheVariables"]["CMAKE_EXPORT_COMPILE_COMMANDS"] != "ON":
            yield f"{name} writes no compile_commands.json"
        if "displayName" not in by_name[name]:
            yield f"{name} does not say what it is"
        if f"`{name}`" not in document:
            yield f"{name} is not in CONTRIBUTING.md"


def main():
    cmake, root = sys.argv[1], pathlib.Path(sys.argv[2])
    listing = subprocess.run(
        [cmake, "--list-presets=workflow"], cwd=root, check=True, stdout=subprocess.PIPE, text=True
    ).stdout
    listed = set(re.findall(r'^ *"(.*?)"', listing, re.MULTILINE))
    file = json.loads((root / "CMakePresets.json").read_text(encoding="ascii"))
    document = (root / "CONTRIBUTING.md").read_text(encoding="ascii")
    found = list(faults(file, listed, document))
    print("\n".join(found) if found else f"{len(listed)} workflows")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
