"""Runs the tests from a checkout: the package beside them is used unless one
is installed, and its pytest fixtures are loaded either way."""

import importlib.util
import sys
from pathlib import Path

if importlib.util.find_spec("xdsp") is None:
    sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

pytest_plugins = ["xdsp.pytest_plugin"]
