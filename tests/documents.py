"""The documents, the schema and the tests' tables say what the tool says."""

import json
import math
import os
import pathlib
import re
import subprocess
import sys
import tempfile
from fractions import Fraction

import jsonschema

root = pathlib.Path(__file__).parent.parent
tool, make_dump = map(pathlib.Path, sys.argv[1:3])
env = dict(os.environ, VEX_HOST_LOG=os.devnull, VEX_HOST_BOARD_PLATFORM="vx2415")


def text(name):
    return (root / name).read_text()


def run(*command, **options):
    return subprocess.run(command, env=env, capture_output=True, text=True, check=True, **options)


def up(number, step):
    return math.ceil(number / step) * step


def tables(name):
    """The tables of a page, without their first rows; a row is a list of cells."""
    found = re.findall(r"(?:^\|.*\n)+", text(name), re.M)
    return [[[cell.strip() for cell in row.split("|")[1:-1]] for row in table.splitlines()[2:]] for table in found]


def bytes_of(area, row, width, height):
    """The bytes that the row of an area gives, in a frame of the format whose row this is."""
    bits, extra, multiple = Fraction(area[2]), int(area[3] or 0), int(area[4] or 1)
    width, height = (up(size, int(step)) for size, step in zip((width, height), row[1].split(" × ")))
    if area[:2] == ["YV12", "chroma"]:  # the page says so in a sentence
        width = up(width, 32)
    return up(width * height * bits / 8 + extra, multiple)


def formats_are_listed():
    names = [line.split()[0] for line in run(tool, "--list-formats").stderr.splitlines()[2:]]
    schema = json.loads(text("config/format-rules.schema.json"))
    allowed = schema["definitions"]["colorFormat"]["enum"]
    assert allowed == names, f"the schema's color formats: {set(allowed) ^ set(names)}"
    facts = [row.split() for row in text("tests/data/formats.txt").splitlines() if row[0] != "#"]
    assert all(row[2] in ("yuv", row[0].lower()) for row in facts), "extensions are formats in lower case"
    rows, _, _, boards, areas, offsets, _ = tables("docs/formats.md")
    assert [[row[0], row[1], row[4]] for row in rows] == [[row[0], f"{row[3]} × {row[4]}", row[1]] for row in facts]
    separate = [row[0] for row in facts if row[5] == "separate"]
    parts = {"Y.dat": "luma body", "Y.len": "luma header", "C.dat": "chroma body", "C.len": "chroma header"}
    with tempfile.TemporaryDirectory() as folder:
        for row in rows:
            made = run(make_dump, "-f", row[0], "-w", "1920", "-h", "1080", "--whole", "-o", folder)
            size = pathlib.Path(made.stdout.strip()).stat().st_size
            assert size == int(row[2]), f"docs/formats.md: a frame of {row[0]} has {size} bytes"
            own = [area for area in areas if row[0] in area[0].split(", ")]
            # Another multiple than each of the table's gives other bytes at one of these sizes.
            for width, height in (513, 33), (337, 65):
                made = run(make_dump, "-f", row[0], "-w", str(width), "-h", str(height), "-o", folder)
                for name in made.stdout.splitlines():
                    size = sum(bytes_of(area, row, width, height) for area in own
                               if parts.get(name[-5:], area[1]) == area[1])
                    assert size == pathlib.Path(name).stat().st_size, f"docs/formats.md: {name} has not {size} bytes"
    # A column of sizes and offsets for each format; the test of the catalogue has the same numbers.
    numbers = [row.split() for row in text("tests/data/parts.txt").splitlines() if " 1088 " in row]
    expected = [[row[0], *(f"{offset}, {size}" for size, offset in zip(row[3::2], row[4::2]))] for row in numbers]
    columns = [list(column) for column in zip(*(row[1:] for row in offsets))]
    assert [[name, *column] for name, column in zip(separate, columns)] == expected, "offsets of parts"
    for board in {"", *re.findall(r'"(vx\d+)"', text("color/Catalogue.cpp"))}:
        env["VEX_HOST_BOARD_PLATFORM"] = board
        listed = run(tool, "--list-formats").stderr.splitlines()[2:]
        read = [name for row in boards for name in row[0].split(", ")
                if row[1].startswith("all") != (board in re.findall(r"vx\d+", row[1]))]
        assert {line.split()[0] for line in listed} == set(read), f"docs/formats.md: what the board {board} reads"
    env["VEX_HOST_BOARD_PLATFORM"] = "vx2415"


def codes_are_listed():
    codes = {}
    for rule in json.loads(text("config/default-rules.json")):
        for pair in rule["ColorFormatPair"]:
            row = (f"`{pair['FormatStr']}`", pair["ColorFormat"],
                   f"{pair['WidthAlignment']} × {pair['HeightAlignment']}")
            codes.setdefault(row, set()).add("part files" if pair["Separate"] else rule["Pattern"][1:4])
    dumps = {"decoder": {"dec"}, "encoder": {"enc"}, "both": {"dec", "enc"}, "decoder, in part files": {"part files"}}
    rows = tables("docs/configuration.md")[0]
    assert {tuple(row[:3]): dumps[row[3]] for row in rows} == codes, "codes in docs/configuration.md"
    without = re.search(r"([\w, ]+) have no code", text("docs/configuration.md"))[1]
    coded = {row[1] for row in codes}
    assert set(re.findall(r"[A-Z]\w+", without)) == {row[0] for row in tables("docs/formats.md")[0]} - coded


def links_lead_somewhere():
    """Pages link to pages that are installed with them, and to headings that exist."""
    pages = {path.name: path.read_text() for path in (root / "docs").glob("*.md")}
    for name, page in pages.items():
        for target, heading in re.findall(r"\]\(([\w.-]*)(?:#([\w-]+))?\)", page):
            if name in ("architecture.md", "host-engine.md") or not target.endswith((".md", "")):
                continue
            assert target not in ("architecture.md", "host-engine.md"), f"{name} links to {target}"
            titles = re.findall(r"^#+ (.*)", pages[target or name], re.M)
            anchors = [re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-") for title in titles]
            assert not heading or heading in anchors, f"{name} links to {target}#{heading}"


def both_builds_have_the_same_sources():
    lists = [re.findall(r'"((?:color|config|driver|fileutils|memory)/\w+\.cpp)"', text("Android.bp")),
             re.findall(r"\b(?:color|config|driver|fileutils|memory)/\w+\.cpp",
                        re.search(r"add_library\(vex_tool.*?\)", text("CMakeLists.txt"), re.S)[0])]
    assert sorted(lists[0]) == sorted(lists[1] + ["driver/VexConverter.cpp"]), "sources in Android.bp"


def rules_and_example_fit_the_schema():
    schema = json.loads(text("config/format-rules.schema.json"))
    jsonschema.Draft7Validator.check_schema(schema)
    rules = jsonschema.Draft7Validator(schema)
    example = re.search(r"```json\n(.*?)```", text("docs/configuration.md"), re.S)[1]
    rules.validate(json.loads(text("config/default-rules.json")))
    rules.validate(json.loads(example))
    # The loader needs each key, and takes the 1 for true, which nobody should write.
    keys = [match for match in re.finditer(r'"(\w+)":', example) if match[1] != "ColorFormatPair"]
    changed = [(match[0], example[:match.start()] + '"x":' + example[match.end():]) for match in keys]
    changed += [(old, example.replace(old, new)) for old, new in (('"Name": "', '"Name": 7, "x": "'), ("true", "1"))]
    for old, rule in changed:
        assert not rules.is_valid(json.loads(rule)), f"a rule with something else for {old}"


def promises_have_tests():
    sources = "".join(path.read_text() for path in (root / "tests").rglob("*.cpp"))
    for name in re.findall(r"`([\w./-]+)`", "".join(row[1] for row in tables("docs/reliability.md")[0])):
        found = f", {name})" in sources or (root / name).is_file() or any((root / "tests").rglob(name))
        assert found, f"docs/reliability.md: no test {name}"


def documents_fit_the_terminal():
    code = run(make_dump, "--help").stdout.splitlines()
    for path in [root / "README.md", root / "CONTRIBUTING.md", *(root / "docs").glob("*.md")]:
        assert "](../" not in path.read_text(), f"{path} links what is not installed with it"
        code += re.findall(r"^    .*", path.read_text(), re.M)
        code += "\n".join(re.findall(r"```(?!mermaid).*?```", path.read_text(), re.S)).splitlines()
    wide = [line for line in code if len(line) > 80]
    assert not wide, f"more than 80 columns: {wide}"


formats_are_listed()
codes_are_listed()
links_lead_somewhere()
promises_have_tests()
documents_fit_the_terminal()
both_builds_have_the_same_sources()
rules_and_example_fit_the_schema()
