"""What other decoders see: samples of pictures, and the colors of dumps in all color spaces."""

import itertools
import os
import pathlib
import random
import subprocess
import sys
import tempfile
import zlib

from PIL import Image

tool, plain, make_dump = sys.argv[1:]
env = dict(os.environ, VEX_HOST_LOG=os.devnull)
temporary = tempfile.TemporaryDirectory()
folder = pathlib.Path(temporary.name)


def run(*command):
    return subprocess.run([str(word) for word in command], env=env, capture_output=True, text=True, check=True)


# libpng reads the pictures of the tool, and of its build without ISA-L, as they went in.
for width, height in (1, 1), (1, 1088), (3, 5), (1919, 1079), (1920, 1088), (16384, 64):
    size = width * height * 4
    frame = random.Random(1).randbytes(size // 2)
    frame += bytes(i // 9 & 255 for i in range(size - len(frame)))
    dump = folder / "dump.rgba"
    dump.write_bytes(frame)
    for program in tool, plain:
        run(program, dump, "-o", folder, "-fRGBA8888", "-w", width, "-h", height, "--png")
        with Image.open(folder / "dump_converted.png") as picture:
            assert (picture.mode, picture.size) == ("RGBA", (width, height)), (program, width, height)
            assert picture.tobytes() == frame, (program, width, height)
        assert os.path.getsize(folder / "dump_converted.png") < 1.1 * len(zlib.compress(frame, 1)) + 100, (program, width)

# The test pattern in each color space, as YUV in each other one, and the picture of that.
spaces = [line.split()[0] for line in run(tool, "--list-colorspaces").stderr.splitlines()[2:]]
bars = [(255, 255, 255), (255, 255, 0), (0, 255, 255), (0, 255, 0), (255, 0, 255), (255, 0, 0), (0, 0, 255), (0, 0, 0)]
grays = [(32 * i + 16,) * 3 for i in range(8)]
pattern = "-fNV12", "-w", 128, "-h", 64
for source, other in itertools.product(spaces, spaces):
    made = run(make_dump, *pattern, "--colorspace", source, "-o", folder / source).stdout.strip()
    output = folder / (pathlib.Path(made).stem + "_converted.nv12")
    run(tool, made, "-o", folder, "--input-colorspace", source, "--output-colorspace", other)
    run(tool, output, "-o", folder, *pattern, "--png", "--input-colorspace", other)
    output.unlink()
    with Image.open(folder / (output.stem + "_converted.png")) as picture:
        seen = [picture.getpixel((16 * i + 8, line))[:3] for line in (28, 40) for i in range(8)]
    wrong = max(abs(a - b) for some, others in zip(seen, bars + grays) for a, b in zip(some, others))
    assert wrong <= 3, f"{source}, --output-colorspace {other}: {wrong} off"
