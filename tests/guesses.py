"""probe-dump finds the format and size of the dumps in data/guesses.txt, and doubts the names that lie."""

import json
import os
import pathlib
import subprocess
import sys
import tempfile

make_dump, probe_dump = sys.argv[1:]
env = dict(os.environ, VEX_HOST_LOG=os.devnull, VEX_HOST_BOARD_PLATFORM="vx2415")
# The formats in which ffmpeg draws, and their pixel formats; it writes the plain ones of them itself.
PIXELS = {"RGB888": "rgb24", "RGBA8888": "rgba", "RGBA1010102": "x2bgr10le", "P010": "p010le", "YUV420P": "yuv420p",
          "NV12": "nv12"}


def run(*command):
    return subprocess.run(command, env=env, capture_output=True, text=True)


def make(row, folder):
    """Returns the path of the dump of a row."""
    wanted, width, height, frames, source, name = row
    raw_format = next((raw for raw in ("RGBA8888", "RGBA1010102") if wanted.startswith(raw)), wanted)
    if raw_format not in PIXELS:
        raw_format = "P010" if "10" in wanted else "NV12"
    run("ffmpeg", "-v", "error", "-nostdin", "-f", "lavfi", "-i", f"{source}=s={width}x{height}:r=5", "-frames:v", frames,
        "-pix_fmt", PIXELS[raw_format], "-f", "rawvideo", "-y", folder / "raw")
    if wanted not in PIXELS:
        made = run(make_dump, "-f", wanted, "-w", width, "-h", height, "-i", folder / "raw", "-r", raw_format,
                   "--whole", "-o", folder / "made")
        os.rename(made.stdout.split("\n")[0], folder / "raw")
    return (folder / "raw").rename(folder / name)


for line in (pathlib.Path(__file__).parent / "data/guesses.txt").read_text().splitlines():
    if line[0] == "#":
        continue
    row = line.split()
    truth = row[0], *map(int, row[1:3])
    with tempfile.TemporaryDirectory() as folder:
        dump, = json.loads(run(probe_dump, "--json", make(row, pathlib.Path(folder))).stdout)
    named, first = ((it["format"], it["width"], it["height"]) if it else None
                    for it in (dump, next(iter(dump["candidates"]), None)))
    if named == truth:
        assert dump["converts"], f"{line}: {dump['problems']}"
    else:
        either = first and (dump["candidates"][0].get("or"), *first[1:])
        assert truth in (first, either), f"{line}: {first}, {dump['problems']}"
        assert dump["doubted"] == (named != (None,) * 3), f"{line}: {dump['problems']}"
