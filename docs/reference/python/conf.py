"""Sphinx configuration of the Python reference: autodoc over the package's
docstrings. Built by scripts/build-reference with warnings as errors; a public
function, class, method or property without a docstring is a warning too."""

import os
import sys

sys.path.insert(0, os.path.abspath(os.path.join(os.path.dirname(__file__), "..", "..", "..",
                                                "python")))

import xdsp  # noqa: E402 - found through the path above

project = "xdsp"
release = xdsp.__version__
version = release
extensions = ["sphinx.ext.autodoc"]
root_doc = "index"
exclude_patterns = []
html_theme = "alabaster"
html_static_path = []
autodoc_member_order = "bysource"
autodoc_typehints = "signature"
autodoc_default_options = {"members": True, "show-inheritance": True}
# Standard-library names: no inventory of them is available offline.
nitpick_ignore_regex = [
    ("py:class", r"(int|str|bytes|bool|float|object|Exception|BaseException|"
                 r"Optional|Union|List|Tuple|Callable|Iterator|Any|None|"
                 r"datetime\.datetime|pytest\.\w+|_pytest\.\w+(\.\w+)*|"
                 r"ctypes\.\w+|typing\.\w+|enum\.\w+)"),
    # The handle the parts of an open board share; made by Board, never by callers.
    ("py:class", r"xdsp\._link\.Handle"),
]

_DOCUMENTED_KINDS = (type, property, staticmethod, classmethod)


def _require_docstring(app, what, name, obj, skip, options):
    """Warns of a public function, class, method or property of the package
    that autodoc leaves out for want of a docstring; names a module imports
    from elsewhere, and data without a docstring, stay out silently."""
    module = getattr(obj, "__module__", None) or ""
    if isinstance(obj, property):
        module = getattr(obj.fget, "__module__", "")
    ours = module.startswith("xdsp.") and not module.startswith("xdsp._")
    code = callable(obj) or isinstance(obj, _DOCUMENTED_KINDS)
    if skip and ours and code and not name.startswith("_") and not obj.__doc__:
        from sphinx.util import logging
        logging.getLogger(__name__).warning("%s.%s has no docstring", module, name,
                                            type="xdsp", subtype="undocumented")
    return None


def setup(app):
    app.connect("autodoc-skip-member", _require_docstring)
