"""Makes dumps, asks probe-dump what they are and counts right answers, for scripts/probe-rate."""
import fnmatch
import json
import math
import os
import random
import re
import shutil
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

WORK, SEED, WANTED = Path(sys.argv[1]), *sys.argv[2:]
KEPT = os.environ.get("VEX_KEEP_DUMPS")
PROBE_DUMP = os.environ.get("VEX_PROBE_DUMP", "build/release/probe-dump")

# These come from the sources. They are formats with their alignment and the format of their raw frames,
# sizes that probe-dump tries, without 8K, which takes too long, and codes in the names of whole frames.
FORMATS = {name: (int(width), int(height), raw) for name, width, height, raw in re.findall(
    r'0x\w+, +"(\w+)", +\w+, +(\d+), +(\d+), Color::(\w+)',
    Path("color/Catalogue.cpp").read_text())}
SIZES = [(int(width), int(height)) for width, height in re.findall(
    r"\{(\d+), (\d+)\}", Path("tools/Candidates.cpp").read_text()) if int(width) < 7680]
CODES = [(rule["Pattern"].split(".*")[0], pair["FormatStr"], pair["ColorFormat"])
         for rule in json.loads(Path("config/default-rules.json").read_text())
         for pair in rule["ColorFormatPair"] if not pair["Separate"]]
FFMPEG_NAMES = {"NV12": "nv12", "P010": "p010le", "YUV420P": "yuv420p", "RGB888": "rgb24",
                "RGBA8888": "rgba", "RGBA1010102": "x2bgr10le"}
PICTURES = ["photograph"] * 4 + ["mandelbrot", "gradients"]
PATTERNS = ["testsrc", "testsrc2", "smptebars", "smptehdbars", "pal75bars", "rgbtestsrc",
            "yuvtestsrc", "colorspectrum"]
MANY_PIXELS = 3e6
LIES = ["sides swapped", "blocks as rows", "rows as blocks", "wrong case", "half as wide"]
ROWS = {"table": (102, "Pictures, sizes of the table"),
        "ffmpeg": (96, "Written by ffmpeg, sizes of the table"),
        "ffmpeg-odd": (48, "Written by ffmpeg, other sizes"),
        "odd": (51, "Pictures, other sizes"),
        "lies": (90, "Names that lie"),
        "names": (90, "Names that are right")}


def run(*command):
    done = subprocess.run(command, capture_output=True, text=True)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(command)}\n{done.stdout}{done.stderr}")
    return done.stdout


def aligned(format, size):
    return tuple(-(-length // step) * step for length, step in zip(size, FORMATS[format]))


def choose_odd_size(rng, format):
    """Returns a size that is not aligned as one of the table."""
    table = {aligned(format, size) for size in SIZES}
    while True:
        width, height = size = 2 * rng.randrange(160, 1000), 2 * rng.randrange(120, 1000)
        if (0.4 < width / height < 2.5 and width * height < MANY_PIXELS and
                aligned(format, size) not in table):
            return size


def photograph(rng, width, height, folder):
    """Makes a source of frames like photographs. They show discs and boxes, many small and few large,
    which hide each other and are shaded. Over these lie light and texture that vary, blur and grain."""
    frame = bytearray(3 * width * height)

    def paint(y, left, right, color, light):
        pixel = bytes(min(255, max(0, round(value * light))) for value in color)
        frame[3 * (y * width + left):3 * (y * width + right)] = pixel * (right - left)

    def choose_color():
        gray, vividness = rng.uniform(30, 200), rng.uniform(5, 50)
        return [rng.gauss(gray, vividness) for _ in range(3)]

    def write(name, columns, lines, pixels):
        (folder / name).write_bytes(b"P6 %d %d 255\n" % (columns, lines) + pixels)

    sky = choose_color()
    for y in range(height):
        paint(y, 0, width, sky, 1.3 - 0.6 * y / height)
    for _ in range(rng.randrange(100, 600)):
        radius = int(min(height / 3, height / 60 / rng.random() ** 0.7)) + 1
        x, top = rng.randrange(width), rng.randrange(-radius, height)
        color, shade, is_box = choose_color(), rng.uniform(-0.5, 0.5), rng.random() < 0.4
        for line in range(max(0, -top), min(2 * radius, height - top)):
            half = radius if is_box else math.isqrt(radius ** 2 - (line - radius) ** 2)
            paint(top + line, max(0, x - half), min(width, x + half), color,
                  1 + shade * (line / radius - 1))
    write("objects.ppm", width, height, frame)
    for name, lines in ("light.ppm", 6), ("texture.ppm", rng.randrange(60, 200)):
        columns = lines * width // height + 2
        write(name, columns, lines, rng.randbytes(3 * columns * lines))
    scale = f"scale={width}:{height}:flags=bicubic,hue=s=0.3"
    return (f"movie={folder}/objects.ppm[a];movie={folder}/light.ppm,{scale}[b];"
            f"movie={folder}/texture.ppm,{scale}[c];[a][b][c]mix=inputs=3:"
            f"weights='6 {rng.uniform(0.5, 3)} {rng.uniform(0.2, 1.5)}',"
            f"gblur=sigma={rng.uniform(0.3, 1.5)},loop=-1:1,"
            f"noise=alls={rng.randrange(1, 9)}:allf=t:all_seed={rng.randrange(1 << 30)}")


def make_frames(rng, source, size, frames, pixel_format, path):
    """Writes raw frames of a photograph or of one of ffmpeg's sources, cropped as if panned."""
    width, height = size[0] + 64, size[1] + 64
    start = rng.randrange(25) if source in PATTERNS else 0
    seed, scale = rng.randrange(1 << 30), 3 * rng.random() ** 2 + 0.01
    colors = "".join(f":c{i}=0x{rng.randrange(1 << 24):06x}" for i in range(8))
    options = {
        "mandelbrot": f":start_x=-0.74364{rng.randrange(1000)}:start_scale={scale}",
        "gradients": f"{colors}:n={rng.randrange(2, 9)}:type={rng.randrange(4)}:seed={seed}",
        "colorspectrum": f":type={rng.randrange(3)}"}.get(source, "")
    graph = (photograph(rng, width, height, path.parent) if source == "photograph"
             else f"{source}=s={width}x{height}{options}")
    x, y, dx, dy = (rng.randrange(end) for end in (48, 48, 6, 6))
    run("ffmpeg", "-v", "error", "-nostdin", "-f", "lavfi", "-i", graph, "-vf",
        f"trim=start_frame={start},crop={size[0]}:{size[1]}:{x}+{dx}*n:{y}+{dy}*n,"
        f"format={pixel_format}", "-frames:v", str(frames), "-f", "rawvideo", path)


def make_dump(rng, source, format, size, frames, path):
    raw_format, raw = FORMATS[format][2], path.parent / "raw"
    make_frames(rng, source, size, frames, FFMPEG_NAMES[raw_format], raw)
    made = run("build/release/make-dump", "-f", format, "-w", str(size[0]), "-h", str(size[1]),
               "-i", raw, "-r", raw_format, "--whole", "-o", path.parent)
    os.rename(made.strip(), path)


def choose_lie(rng, kind):
    """Chooses the format, size and name of a dump, and another name that lies about them. Frames of both
    have the same number of bytes."""
    while True:
        prefix, code, format = rng.choice(CODES)
        # Each rule has codes of its own, and takes others for NV12.
        _, lying_code, lying_format = rng.choice([row for row in CODES if row[0] == prefix])
        size = rng.choice(SIZES) if rng.random() < 0.5 else choose_odd_size(rng, format)
        width, height = lying_size = aligned(format, size)
        if kind in ("blocks as rows", "rows as blocks"):
            blocks, lying_blocks = "BLK" in format, "BLK" in lying_format
            wanted = blocks != lying_blocks == (kind == "rows as blocks")
        elif kind == "wrong case":
            lying_code, lying_format = "0x" + code[2:].lower(), "NV12"
            wanted = lying_code != code and format != "NV12"
        else:
            lying_size = (height, width) if kind == "sides swapped" else (width // 2, 2 * height)
            wanted = lying_code == code and lying_size != (width, height)
        formats = {format, lying_format}
        fits = (width * height == math.prod(aligned(lying_format, lying_size)) < MANY_PIXELS and
                (len(formats) == 1 or formats <= {"NV12", "YV12", "NV12_BLK"}) and
                ("YV12" not in formats or width % 32 == lying_size[0] % 32 == 0))
        if wanted and fits:
            end = f"{rng.randrange(100)}.yuv"
            return (format, size, f"{prefix}0_W{size[0]}H{size[1]}_F{code}_{end}",
                    f"{prefix}0_W{lying_size[0]}H{lying_size[1]}_F{lying_code}_{end}")


def make_case(row, number, folder):
    """Makes a dump, and returns its path, format, size and what it shows."""
    # The same dumps have right names and names that lie.
    rng = random.Random(f"{SEED} {'lies' if row == 'names' else row} {number}")
    source = rng.choice(PICTURES if row in ("table", "odd") else PICTURES + PATTERNS)
    if row in ("lies", "names"):
        kind = LIES[number % len(LIES)]
        format, size, name, lying_name = choose_lie(rng, kind)
        path = folder / (name if row == "names" else lying_name)
        make_dump(rng, source, format, size, rng.randrange(1, 4), path)
        return path, format, size, source if row == "names" else f"{source}, {kind}"
    path = folder / f"{row}-{number}.raw"
    formats = list(FFMPEG_NAMES if row.startswith("ffmpeg") else FORMATS)
    format = formats[number % len(formats)]
    size = choose_odd_size(rng, format) if row.endswith("odd") else rng.choice(SIZES)
    frames = rng.randrange(1, 4) if math.prod(size) < MANY_PIXELS else 1
    if not row.startswith("ffmpeg"):
        make_dump(rng, source, format, size, frames, path)
        return path, format, size, source
    # ffmpeg makes P010 of video, which is YUV of 8 bits, otherwise than P010 of RGB.
    video = rng.choice(["", "yuv420p,format="])
    make_frames(rng, source, size, frames, video + FFMPEG_NAMES[format], path)
    return path, format, size, source + (", from yuv420p" if video else "")


def probe(path):
    """Returns what probe-dump says of the file, and the processor time that it takes, in seconds."""
    with open(path.parent / "answer", "w+b") as answer:
        process = subprocess.Popen([PROBE_DUMP, "--json", path], stdout=answer)
        _, status, used = os.wait4(process.pid, 0)
        if os.waitstatus_to_exitcode(status) not in (0, 1):
            raise RuntimeError(f"probe-dump ends with {os.waitstatus_to_exitcode(status)}: {path}")
        answer.seek(0)
        return json.load(answer)[0], used.ru_utime + used.ru_stime


def judge(row, number):
    """Makes a dump and has it probed. A size is right if it is aligned as the dump's."""
    folder = WORK / f"{row}-{number}"
    folder.mkdir()
    path, format, size, source = make_case(row, number, folder)
    dump, seconds = probe(path)
    candidates = dump["candidates"]
    right = [aligned(format, (found["width"], found["height"])) == aligned(format, size) and
             format in (found["format"], found.get("or")) for found in candidates]
    rank = right.index(True) + 1 if any(right) else math.inf
    first = candidates[0] if candidates else {}
    doubted, sure, cut = bool(dump.get("doubted")), dump.get("sure"), bool(first.get("cutOff"))
    answer = ["{format} {width}x{height}".format(**first) if first else "no candidate"]
    answer += ["cut off"] * cut + [sure] * bool(sure) + ["doubted"] * doubted
    answer += [f"the right one is number {rank}"] if 1 < rank < math.inf else []
    line = (f"{row}-{number} {path.name}: {format} {size[0]}x{size[1]}, {source}"
            f" -> {', '.join(answer)}")
    wrong = doubted if row == "names" else rank > 1 or (row == "lies" and not doubted)
    if KEPT:
        os.makedirs(KEPT, exist_ok=True)
        shutil.move(path, Path(KEPT, f"{row}-{number}_{path.name}"))
    shutil.rmtree(folder)
    return {"rank": rank, "doubted": doubted, "sure": sure, "cut": cut, "seconds": seconds,
            "line": line, "wrong": wrong}


def main():
    print(f"Seed {SEED}\n")
    print("| dumps | files | first | of three | of five | cut off | doubted | clear: right, wrong "
          "| uncertain: right, wrong | slowest, s |\n|---|---|---|---|---|---|---|---|---|---|")
    wrong = []
    for row, (count, label) in ROWS.items():
        numbers = [number for number in range(count)
                   if fnmatch.filter([row, f"{row}-{number}"], WANTED)]
        if not numbers:
            continue
        with ThreadPoolExecutor(os.cpu_count()) as pool:
            results = list(pool.map(lambda number: judge(row, number), numbers))
        counts = [sum(result["rank"] <= most for result in results) for most in (1, 3, 5)]
        counts += [sum(result[key] for result in results) for key in ("cut", "doubted")]
        cells = [f"{count} ({count / len(results):.0%})" for count in counts]
        for sure in "clear", "uncertain":
            ranks = [result["rank"] for result in results if result["sure"] == sure]
            cells.append(f"{ranks.count(1)}, {len(ranks) - ranks.count(1)}")
        slowest = max(result["seconds"] for result in results)
        print(f"| {label} | {len(results)} |", *[f"{cell} |" for cell in cells], f"{slowest:.1f} |")
        sys.stdout.flush()
        wrong += [result["line"] for result in results if result["wrong"]]
    print("\nWrong answers:", *wrong, sep="\n")


main()
