"""Where what was measured is kept: the tables in bench/results, a few figures of them on the pages of docs."""
import datetime
import re
import subprocess

from measuring import ROOT

RESULTS = ROOT / "bench/results"
WRITTEN_HERE = (":!bench/results", ":!docs")  # what measuring itself may have changed


def git(*arguments):
    done = subprocess.run(["git", *arguments], cwd=ROOT, text=True, capture_output=True)
    if done.returncode:
        raise SystemExit(f"error: a result names its commit, but git says: {done.stderr}")
    return done.stdout.strip()


def need_committed_tree():
    """A result names its commit, so the commit must hold what is measured."""
    changed = git("status", "--porcelain", "--", ".", *WRITTEN_HERE)
    if changed:
        raise SystemExit(f"error: the tree has changes; commit them before measuring, or only print\n{changed}")


def made(command):
    """The first line of every result."""
    return f"Measured by `{command}` on {datetime.date.today()}, commit {git('rev-parse', '--short', 'HEAD')}."


def included(name):
    """What is written by hand."""
    return (ROOT / "bench/text" / name).read_text().splitlines()


def table(head, lines, left=1):
    """The first columns hold words, the others numbers."""
    return [f"| {' | '.join(head)} |", "|" + "---|" * left + "---:|" * (len(head) - left),
            *(f"| {' | '.join(line)} |" for line in lines)]


def text_of(*sections):
    """Sections are lists of lines."""
    return "\n\n".join("\n".join(section) for section in sections) + "\n"


def write(name, text):
    RESULTS.mkdir(exist_ok=True)
    (RESULTS / name).write_text(text)


def put(page, mark, text):
    """The text between the two marks of the page, in place of what stands there."""
    path = ROOT / "docs" / page
    between = re.compile(rf"(<!-- {mark}: begin[^>]*-->\n).*?(<!-- {mark}: end -->)", re.S)
    found, count = between.subn(lambda marks: marks.group(1) + text + marks.group(2), path.read_text())
    if count != 1:
        raise SystemExit(f"error: docs/{page} has no marks '{mark}'")
    path.write_text(found)
