"""The schema takes the built-in rules and the document's example, and the tool takes the example."""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

import jsonschema

root = pathlib.Path(__file__).parent.parent
tool = pathlib.Path(sys.argv[1])
schema = json.loads((root / "config/format-rules.schema.json").read_text())
jsonschema.Draft7Validator.check_schema(schema)
rules = jsonschema.Draft7Validator(schema)

built_in = json.loads((root / "config/default-rules.json").read_text())
example = re.search(r"```json\n(.*?)```", (root / "docs/configuration.md").read_text(), re.S)[1]
rules.validate(built_in)
rules.validate(json.loads(example))

# What the loader refuses, the schema refuses too.
for good, bad in (('"Pattern"', '"x"'), ('"Name": "', '"Name": 7, "x": "'), ('"YBody"', '"x"'), ("true", "1")):
    assert not rules.is_valid(json.loads(example.replace(good, bad))), bad

with tempfile.TemporaryDirectory() as folder:
    box = pathlib.Path(folder)
    (box / "rules.json").write_text(example)
    (box / "in").mkdir()
    (box / "in/cap-0012_64x20_blk8.raw").write_bytes(b"x" * 64 * 32)
    for part in ("luma.bin", "luma.hdr", "chroma.bin", "chroma.hdr"):
        (box / f"in/cap-0013_64x20_cpq_{part}").write_bytes(b"y" * 4096)
    env = dict(os.environ, VEX_HOST_LOG=os.devnull)
    command = [tool, "-i", "in", "-o", ".", "-c", "rules.json"]
    run = subprocess.run(command, cwd=box, env=env, capture_output=True, text=True, check=True)
    sizes = sorted(path.stat().st_size for path in box.glob("*_converted.nv12"))
    assert sizes == [64 * 32 * 3 // 2] * 2, (sizes, run.stderr)
    assert "Error" not in run.stderr, run.stderr
