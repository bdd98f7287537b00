"""What other decoders see: samples of pictures, and the colors of dumps in all color spaces."""

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
folder = pathlib.Path(tempfile.mkdtemp())


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

# The test pattern in each color space, read in that space and in the others, as picture and as YUV.
spaces = [line.split()[0] for line in run(tool, "--list-colorspaces").stderr.splitlines()[2:]]
bars = [(255, 255, 255), (255, 255, 0), (0, 255, 255), (0, 255, 0), (255, 0, 255), (255, 0, 0), (0, 0, 255), (0, 0, 0)]
grays = [(32 * i + 16,) * 3 for i in range(8)]


def worst(some, others):
    return max(abs(a - b) for a, b in zip(some, others))


def samples(path):
    """Y, Cb and Cr in the middle of the bars."""
    frame = path.read_bytes()
    pairs = [128 * (64 + 14) + 16 * i + 8 for i in range(8)]
    return [frame[128 * 28 + 16 * i + 8] for i in range(8)] + [frame[at + c] for at in pairs for c in (0, 1)]


dumps = {space: pathlib.Path(run(make_dump, "-f", "NV12", "-w", 128, "-h", 64, "--colorspace", space, "-o",
                                 folder / space).stdout.strip()) for space in spaces}
for source, dump in dumps.items():
    for other in spaces:
        output = folder / (dump.stem + "_converted")
        run(tool, dump, "-o", folder, "--png", "--input-colorspace", other)
        with Image.open(output.with_suffix(".png")) as picture:
            seen = [sample for line in (28, 40) for i in range(8) for sample in picture.getpixel((16 * i + 8, line))[:3]]
        wrong = worst(seen, [sample for color in bars + grays for sample in color])
        assert (wrong <= 3) == (source == other), f"a picture of {source}, --input-colorspace {other}: {wrong} off"
        run(tool, dump, "-o", folder, "--input-colorspace", source, "--output-colorspace", other)
        wrong = worst(samples(output.with_suffix(".nv12")), samples(dumps[other]))
        output.with_suffix(".nv12").unlink()
        assert wrong <= 2, f"{source}, --output-colorspace {other}: {wrong} off"
