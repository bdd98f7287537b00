"""Runs a session: commands as users type them, and what they print. Usage: session.py SESSION PROGRAM...

In a session a line "$ COMMAND" is run by bash in a folder of the session's own, after the file profile there; the
lines up to the next one are what the command prints on both streams, as cat -v shows it, and its status in brackets
where that is not 0. # is a comment. Of the caller's environment a command sees the PATH alone, so that the sessions
mean the same on every machine. The variable VEX_CONVERTER names another build of the tool to test.
"""

import os
import pathlib
import subprocess
import sys
import tempfile

session = pathlib.Path(sys.argv[1]).resolve()
programs = {os.path.basename(program): os.path.abspath(program) for program in sys.argv[2:]}
programs["VexConverter"] = os.environ.get("VEX_CONVERTER", programs["VexConverter"])
environment = {"PATH": os.environ["PATH"], "HOME": ".", "TERM": "xterm", "LC_ALL": "C.UTF-8", "VEX_HOST_LOG": "log",
               "GCOV_ERROR_FILE": "/dev/null"}  # counts of coverage that a limit on files takes are no output
PROFILE = b"""PATH=$PWD/bin:$PATH PROJECT=$PWD/project DATA=$PWD/project/tests/data
[ ! -e profile ] || . ./profile
"""
failed = False


def check(line, command, expected):
    """Runs the command of that line, and reports it where it doesn't print what is expected."""
    global failed
    pathlib.Path("command").write_bytes(PROFILE + command)
    result = subprocess.run(["bash", "command"], env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    printed = subprocess.run(["cat", "-v"], input=result.stdout, stdout=subprocess.PIPE, check=True).stdout
    printed += b"[%d]\n" % result.returncode if result.returncode else b""
    if printed != expected:
        failed = True
        sys.stdout.buffer.write(b"%s:%d: $ %s--- should print:\n%s--- prints:\n%s" %
                                (os.fsencode(session), line, command, expected, printed))


with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    for name in "bin", "in", "out":
        os.mkdir(name)
    for name, program in programs.items():
        os.symlink(program, "bin/" + name)
    os.symlink(session.parent.parent.parent, "project")
    start, command, expected = 0, b"", b""
    lines = session.read_bytes().splitlines(keepends=True) + [b"#"]
    for number, line in enumerate(lines, 1):
        if line.startswith((b"$ ", b"#")):
            if command:
                check(start, command, expected)
            start, command, expected = number, line[2:] if line[0] == ord("$") else b"", b""
        elif command and line.startswith(b"> ") and not expected:
            command += line[2:]
        else:
            expected += line
    os.chdir("/")
sys.exit(failed)
