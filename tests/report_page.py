"""Checks the HTML pages that `blnits report` writes. Arguments: the tool, and this tree."""

import hashlib
import json
import os
import re
import subprocess
import sys
import tempfile
from html.parser import HTMLParser
from pathlib import Path

TOOL, TREE = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
PHONE = "samples/backlight_calib_oled_phone.xml"
HBM = "samples/backlight_calib_oled_hbm.xml"
VOID = {"meta", "br", "link"}
HOSTILE = "<script>alert(1)&'\""


class Page(HTMLParser):
    """A page, parsed, with the faults that are found on the way."""

    def __init__(self, text):
        super().__init__(convert_charrefs=True)
        self.faults, self.open, self.elements, self.tables, self.text = [], [], [], [], ""
        self.feed(text)
        self.close()
        self.faults += [f"<{tag}> is never closed" for tag in self.open]

    def handle_starttag(self, tag, attributes):
        self.elements.append((tag, dict(attributes)))
        if tag not in VOID:
            self.open.append(tag)
        if tag == "table":
            self.tables.append([])
        if tag == "tr":
            self.tables[-1].append([])
        if tag in ("td", "th"):
            self.tables[-1][-1].append("")

    def handle_startendtag(self, tag, attributes):
        self.elements.append((tag, dict(attributes)))
        if "svg" not in self.open:
            self.faults.append(f"<{tag}/> is not closed in HTML")

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            self.faults.append(f"</{tag}> at line {self.getpos()[0]} closes another element")

    def handle_data(self, data):
        if "script" in self.open or "style" in self.open:
            return
        self.text += data
        if "td" in self.open or "th" in self.open:
            self.tables[-1][-1][-1] += data

    def named(self, tag):
        """The attributes of each element with this name."""
        return [attributes for name, attributes in self.elements if name == tag]

    def rows(self, heading):
        """The rows below the headings of the first table that has this heading."""
        return next(table[1:] for table in self.tables if heading in table[0])


def run(*arguments):
    """Runs the tool in the working folder. Returns its exit status and output."""
    done = subprocess.run([TOOL, *arguments], capture_output=True, text=True, check=False, timeout=300)
    return done.returncode, done.stdout + done.stderr


def report(*arguments):
    """Makes a page twice. Returns the exit status and the page."""
    pages = []
    for _ in range(2):
        status, said = run("report", *arguments, "-o", "page.html")
        assert status in (0, 1), said
        pages.append(Path("page.html").read_bytes())
    assert pages[0] == pages[1], "the same input gives other bytes"
    return status, pages[0].decode("utf-8")


def check_form(text):
    """Fails unless a page is well-formed, accessible, and complete without a network."""
    page = Page(text)
    assert not page.faults, page.faults
    ids = [attributes["id"] for _, attributes in page.elements if "id" in attributes]
    assert len(ids) == len(set(ids)), sorted(name for name in ids if ids.count(name) > 1)
    for tag, attributes in page.elements:
        for name in ("aria-labelledby", "aria-describedby"):
            assert attributes.get(name, ids[0]) in ids, (tag, attributes)
        for name, value in attributes.items():
            assert not name.startswith("on") and name not in ("src", "srcset", "xmlns"), (tag, name)
            target = value if name.endswith("href") else (re.findall(r"url\((.*?)\)", value or "") or [None])[0]
            assert target is None or target[0] == "#" and target[1:] in ids, (tag, name, value)
    assert not re.search(r"https?:|@import|url\((?!#)", text)
    assert len(page.named("script")) == 1
    levels = [int(tag[1]) for tag, _ in page.elements if re.fullmatch("h[1-6]", tag)]
    assert levels[0] == 1 and levels.count(1) == 1 and all(b - a <= 1 for a, b in zip(levels, levels[1:])), levels
    assert all(heading.get("scope") in ("col", "row") for heading in page.named("th"))
    assert len(page.named("table")) == len(page.named("caption")) == text.count("<thead><tr>")
    for table in page.tables:
        assert all(len(row) == len(table[0]) for row in table[:-1]), table[0]
    for picture in page.named("svg"):
        assert picture["role"] == "img" and picture["aria-labelledby"] and picture["aria-describedby"]
    assert text.index('id="verdict"') < text.index('id="provenance"') < text.index('id="curves"')
    return page


def test_two_panels_and_readings():
    Path("fresh.csv").write_text("mode,coverage,level,nits\nstandard,100,100,180\nhbm,10,0,0\nstandard,55,300,9\n",
                                 encoding="ascii")
    arguments = ("fresh.csv", "--max-percent", "3")
    status, text = report(PHONE, HBM, "--readings", *arguments, "--max-diff-nits", "1", "--date", "as given")
    page = check_form(text)
    assert status == 1
    assert [row[1] for row in page.rows("Result")] == ["pass", "pass", "fail", "fail"], page.rows("Result")
    assert "as given" in page.text and len(page.named("svg")) == 2
    for row in page.rows("SHA-256"):
        assert row[2] == hashlib.sha256(Path(row[0]).read_bytes()).hexdigest()
    # The figures are those that the other subcommands print.
    verify = json.loads(run("verify", PHONE, *arguments, "--format", "json")[1])
    for reading, row in zip(verify["readings"], page.rows("Read nits"), strict=True):
        assert row[:4] == [str(reading[key]) for key in ("line", "mode", "coverage", "level")]
        percent = reading["error_percent"]
        assert row[7] == ("–" if percent is None else f"{percent:.3f}")
        assert row[9] == ("beyond" if reading["beyond_limit"] else "")
    quality = json.loads(run("quality", PHONE, "--format", "json")[1])
    for curve, row in zip(quality["curves"].values(), page.rows("Levels not back"), strict=True):
        assert row[1:3] == [str(curve["coverage"]), str(curve["changed_levels"])]
        assert row[6:8] == [f"{curve['largest_step']['percent']:.2f}", str(curve["largest_step"]["from_level"])]
    for curve, row in zip(quality["curves"].values(), page.rows("Distinct steps"), strict=True):
        smallest = curve["jnd"]["smallest_step"]
        assert row[2:4] == [f"{smallest['jnd']:.3f}", str(smallest["from_level"])]
    linear = json.loads(run("linear", PHONE, "--format", "json")[1])
    shown = {int(row[0]) + i: int(level) for row in page.rows("+15") for i, level in enumerate(row[1:])}
    assert shown == dict(zip(linear["linearized_levels"], linear["panel_levels"]))
    diff = json.loads(run("diff", PHONE, HBM, "--format", "json")[1])
    for table, row in zip(diff["tables"].values(), page.rows("RMS nits"), strict=True):
        assert row[2] == f"{table['difference_nits']['largest']:.4f}" and row[-1] == "beyond"


def test_foreign_text():
    panel, readings = f"backlight_calib_{HOSTILE}.xml", f"{HOSTILE}.csv"
    Path(panel).write_bytes(Path(PHONE).read_bytes())
    Path(readings).write_text("100 200\n", encoding="ascii")
    _, text = report(panel, "--readings", readings, "--title", f"</title>{HOSTILE}\u202e\x1b[31m", "--date", HOSTILE)
    page = check_form(text)
    assert "alert(1)" not in re.sub("&lt;script&gt;alert", "", text)
    assert page.text.count(HOSTILE) >= 8, page.text.count(HOSTILE)
    assert "\\u202e\\x1b[31m" in page.text and "\u202e" not in text and "\x1b" not in text


def test_refused_panel():
    Path("torn.xml").write_text(f"<Calib_Data gamma='{HOSTILE[:8]}'/>".replace("<s", "&lt;s"), encoding="ascii")
    status, text = report("torn.xml", HBM, "--readings", "fresh.csv")
    page = check_form(text)
    assert status == 1
    assert [row[1] for row in page.rows("Result")] == ["fail", "pass", "fail", "fail"]
    assert page.rows("Finding") and len(page.named("svg")) == 1


def test_many_readings():
    lines = [f"{level % 255} 1" for level in range(1, 1500)] + ["255 478.5"] * 10
    Path("many.csv").write_text("\n".join(lines) + "\n", encoding="ascii")
    page = check_form(report(PHONE, "--readings", "many.csv", "--max-nits", "470")[1])
    rows = page.rows("Read nits")
    verify = json.loads(run("verify", PHONE, "many.csv", "--max-nits", "470", "--format", "json")[1])
    beyond = [str(reading["line"]) for reading in verify["readings"] if reading["beyond_limit"]]
    assert 0 < len(beyond) < 1000 == len(rows)
    assert [row[0] for row in rows if row[9] == "beyond"] == beyond
    assert "509 are left out" in page.text


def test_the_report_in_the_documents():
    """docs/report.html is what its command writes; gnuplot's version may be another one."""
    command = re.search(r"^blnits report (.*) -o docs/report.html$", (TREE / "docs/bench.md").read_text("utf-8"), re.M)
    own = report(*command[1].split())[1]
    shown = (TREE / "docs/report.html").read_text("utf-8")
    assert comparable(own) == comparable(shown), "run the command of docs/bench.md"
    check_form(shown)


def comparable(text):
    return re.sub(r"Pictures: .*", "", re.sub(r"<svg.*?</svg>", "", text, flags=re.S))


def main():
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        Path("samples").symlink_to(TREE / "samples")
        for name, test in list(globals().items()):
            if name.startswith("test_"):
                test()
                print(name)


if __name__ == "__main__":
    main()
