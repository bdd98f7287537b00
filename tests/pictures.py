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

# A card in each color space, read in that space and in the others, as picture and as YUV.
spaces = [line.split()[0] for line in run(tool, "--list-colorspaces").stderr.splitlines()[2:]]
bars = [(255, 255, 255), (255, 255, 0), (0, 255, 255), (0, 255, 0), (255, 0, 255), (255, 0, 0), (0, 0, 255), (0, 0, 0)]
grays = [(32 * i + 16,) * 3 for i in range(8)]
cards = {}
for space in spaces:
    made = run(make_dump, "-f", "NV12", "-w", 128, "-h", 64, "--colorspace", space, "-o", folder / space)
    cards[space] = pathlib.Path(made.stdout.strip())


def converted(source, target, *options):
    """The card of a space after conversion to another one, or to a picture; the output's path."""
    run(tool, cards[source], "-o", folder, *options)
    return folder / (cards[source].stem + ("_converted.png" if "--png" in options else "_converted.nv12"))


def samples(path):
    """Y, Cb and Cr in the middle of the bars."""
    frame = path.read_bytes()
    pairs = [128 * (64 + 14) + 16 * i + 8 for i in range(8)]
    return [frame[128 * 28 + 16 * i + 8] for i in range(8)] + [frame[at + c] for at in pairs for c in (0, 1)]


def worst(some, others):
    return max(abs(a - b) for a, b in zip(some, others))


for source in spaces:
    for other in spaces:
        with Image.open(converted(source, other, "--png", "--input-colorspace", other)) as picture:
            places = [(16 * i + 8, line) for line in (28, 40) for i in range(8)]
            seen = [sample for place in places for sample in picture.getpixel(place)[:3]]
        wrong = worst(seen, [sample for color in bars + grays for sample in color])
        assert (wrong <= 3) == (source == other), f"a picture of {source}, --input-colorspace {other}: {wrong} off"
        output = converted(source, other, "--input-colorspace", source, "--output-colorspace", other)
        wrong = worst(samples(output), samples(cards[other]))
        output.unlink()
        assert wrong <= 2, f"{source}, --output-colorspace {other}: {wrong} off"
