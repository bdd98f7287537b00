"""libpng's decoder reads the pictures of the tool, and of its build without ISA-L, as they went in."""

import os
import pathlib
import random
import subprocess
import sys
import tempfile

from PIL import Image

env = dict(os.environ, VEX_HOST_LOG=os.devnull)
for width, height in (1, 1), (1, 1088), (3, 5), (1919, 1079), (1920, 1088), (16384, 64):
    size = width * height * 4
    frame = random.Random(1).randbytes(size // 2)
    frame += bytes(i // 9 & 255 for i in range(size - len(frame)))
    for tool in sys.argv[1:]:
        with tempfile.TemporaryDirectory() as folder:
            dump = pathlib.Path(folder, "dump.rgba")
            dump.write_bytes(frame)
            command = [tool, dump, "-o", folder, "-fRGBA8888", "-w", str(width), "-h", str(height), "--png"]
            subprocess.run(command, env=env, capture_output=True, check=True)
            with Image.open(pathlib.Path(folder, "dump_converted.png")) as picture:
                assert (picture.mode, picture.size) == ("RGBA", (width, height)), (tool, width, height)
                assert picture.tobytes() == frame, (tool, width, height)
