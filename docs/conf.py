"""The site: what Sphinx makes of the pages that docs/site/pages has laid out below build/docs/source."""

import json
import logging
import pathlib
import re
import sys

from docutils import nodes
from sphinx import addnodes
from sphinx.domains import cpp

ROOT = pathlib.Path(__file__).parents[1]
NAMES = json.loads((ROOT / "build/docs/source/names.json").read_text(encoding="utf-8"))  # and their labels
sys.path.insert(0, str(ROOT / "build/release/python"))

project = "DataProcessing"
version = release = re.search(r"\bVERSION (\S+)", (ROOT / "CMakeLists.txt").read_text().split("project(")[1])[1]
extensions = [
    "breathe", "myst_parser", "nbsphinx", "sphinx.ext.autodoc", "sphinx_copybutton", "sphinx_inline_tabs",
]  # fmt: skip
exclude_patterns = ["**.ipynb_checkpoints"]

html_theme = "furo"
html_title = f"DataProcessing {version}"
html_static_path = [str(ROOT / "docs/site/static")]
html_css_files = ["site.css"]
html_search_scorer = str(ROOT / "docs/site/scorer.js")
html_copy_source = False
html_show_copyright = False
html_show_sphinx = False
html_theme_options = {"navigation_with_keys": True}
pygments_style, pygments_dark_style = "tango", "monokai"
highlight_language = "none"

breathe_projects = {"dataprocessing": str(ROOT / "build/docs/xml")}
breathe_default_project = "dataprocessing"
breathe_show_include = False
breathe_default_members = ("members", "undoc-members")

myst_heading_anchors = 3
myst_enable_extensions = ["html_image"]

nbsphinx_execute = "auto"
nbsphinx_codecell_lexer = "python3"  # IPython's own asks for the whole of IPython
nbsphinx_timeout = 300
nbsphinx_requirejs_path = ""  # nothing is fetched from elsewhere
nbsphinx_assume_equations = False

autodoc_member_order = "bysource"
autodoc_typehints = "none"
autodoc_docstring_signature = True
copybutton_prompt_text = r">>> |\.\.\. "
copybutton_prompt_is_regexp = True


def remember_ids():
    """Sphinx works the id of a declaration out anew for every link that it looks up, half of the time of a build."""
    computed = cpp.ASTDeclaration.get_newest_id

    def newest_id(self):
        if "newest_id" not in self.__dict__:
            self.newest_id = computed(self)
        return self.newest_id

    cpp.ASTDeclaration.get_newest_id = newest_id


class Reopened(logging.Filter):
    """A namespace is declared on every page that shows something of it, which is no duplicate."""

    def filter(self, record):
        return not (str(record.msg).startswith("Duplicate C++") and re.search(r"cpp:type:: \w+'", record.getMessage()))


def link_to(label, page, text):
    link = addnodes.pending_xref(
        "", refdomain="std", reftype="ref", reftarget=label, refexplicit=True, refwarn=True, refdoc=page
    )
    link += text
    return link


def declared(role, raw, text, line, inliner, options=None, content=()):
    """:declared:`label text`, where :ref: would turn the label into small letters."""
    label, shown = text.split(" ", 1)
    return [link_to(label, inliner.document.settings.env.docname, nodes.literal("", shown))], []


def link_names(app, doctree):
    """Public names in the text of the guide lead to where they are told about."""
    if app.env.docname.startswith("reference"):
        return
    for literal in list(doctree.findall(nodes.literal)):
        label = NAMES.get(re.sub(r"\(.*\)$", "", literal.astext()))
        parents = (nodes.reference, addnodes.pending_xref, nodes.title)
        if label and not isinstance(literal.parent, parents):
            literal.replace_self(link_to(label, app.env.docname, literal.deepcopy()))


def complete_theme(app, failure):
    """Debian's theme leaves parts of itself to the web server; a site that is opened from a folder brings them along."""
    static = pathlib.Path(app.outdir) / "_static"
    for name, wanted, part in (
        ("scripts/furo.js", 'import Gumshoe from "./gumshoe-patched.js";', static / "scripts/gumshoe-patched.js"),
        ("styles/furo.css", "@import url(/javascript/normalize.css/normalize.css);",
         pathlib.Path("/usr/share/javascript/normalize.css/normalize.min.css")),
    ):  # fmt: skip
        text = (static / name).read_text(encoding="utf-8") if failure is None else ""
        if wanted in text:
            (static / name).write_text(part.read_text(encoding="utf-8") + text.replace(wanted, ""), encoding="utf-8")


def setup(app):
    remember_ids()
    logging.getLogger("sphinx.sphinx.domains.cpp").addFilter(Reopened())
    app.add_role("declared", declared)
    app.connect("doctree-read", link_names)
    app.connect("build-finished", complete_theme)
    return {"parallel_read_safe": True}
