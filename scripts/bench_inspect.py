#!/usr/bin/env python3
"""Times kiv_inspect beside the tools of binutils and LLVM: bench_inspect.py FOLDER [PROGRAM]

FOLDER/bin/kiv_inspect looks into PROGRAM, which has debug information that is not compressed. Without one, it is a
large program out of the distribution's packages, with the debug information of theirs. Writes FOLDER/raw/inspect.json
in the form of Google Benchmark's results, of which bench_table.py makes the table.

What is measured is the wall clock of whole processes, from their start to the end of their output, which goes through
a pipe to a reader that does nothing else. All contestants get the same file. Before anything is timed, their answers
are compared:

symbols    "nm -n --defined-only" and the same of llvm-nm. Addresses and names are equal as sets. nm also lists
           thread-local variables, whose addresses are offsets, and absolute symbols: these are left out. Names of
           dynamic symbols in .symtab have a version, as name@VERSION; ours lists them from .dynsym, too.
resolve    "addr2line -f -e" and "llvm-addr2line -f --no-inlines -e", addresses from standard input, of a copy without
           debug information, so that all three work with the symbol table alone. Names are equal wherever the symbols
           at the nearest address have one name between them.
constants  "readelf --debug-dump=info" and "llvm-dwarfdump --debug-info", one run each, whose output is compared while
           it comes: the set of enumerators, each a name without scopes and a value. Values are compared modulo the
           width that they have room for, as these tools do not look at the type, which tells -1 from 255.

A difference ends the program. KIV_BENCH_REPETITIONS (5) is the number of runs, taken in turns, KIV_BENCH_SEED (1) that
of the addresses, KIV_BENCH_OPERATIONS the operations to run, all of them if not set.
"""

import bisect
import collections
import glob
import json
import os
import random
import re
import shutil
import subprocess
import sys
import time

PACKAGES = ["ceph-mds", "ceph-mds-dbg"]
ADDRESSES = 100_000
CHUNK = 1 << 20  # bytes of output that are read at once


def say(text):
    print(f"-- {text}", file=sys.stderr, flush=True)


def fail(text):
    sys.exit(f"bench_inspect.py: {text}")


def tool(name):
    """LLVM's tools may have their version in their name."""
    found = shutil.which(name) or next(iter(sorted(glob.glob(f"/usr/bin/{name}-[0-9]*"), reverse=True)), None)
    return found or fail(f"there is no {name}")


def unpack_program(folder):
    """A large program of the distribution's with its debug information, which its packages have in another file."""
    program = os.path.join(folder, "inspected")
    if os.path.exists(program):
        return program
    work = os.path.join(folder, "packages")
    os.makedirs(work, exist_ok=True)
    say(f"downloading {' and '.join(PACKAGES)}")
    for package in PACKAGES:
        subprocess.run(["apt-get", "-qq", "-o", "APT::Sandbox::User=root", "download", package], cwd=work, check=True)
        [archive] = glob.glob(os.path.join(work, package + "_*.deb"))
        subprocess.run(["dpkg", "-x", archive, work], check=True)
    stripped = os.path.join(work, "usr/bin", PACKAGES[0])
    notes = subprocess.run(["readelf", "-n", stripped], capture_output=True, text=True, check=True).stdout
    build_id = re.search(r"Build ID: ([0-9a-f]+)", notes).group(1)
    debug = os.path.join(work, "usr/lib/debug/.build-id", build_id[:2], build_id[2:] + ".debug")
    merged = os.path.join(work, "merged")
    subprocess.run(["eu-unstrip", "-o", merged, stripped, debug], check=True)
    subprocess.run(["objcopy", "--decompress-debug-sections", merged, program + ".new"], check=True)
    os.rename(program + ".new", program)
    shutil.rmtree(work)
    return program


class Run:
    """One run of a contestant; its output goes to take(chunk)."""

    def __init__(self, command, stdin=None, take=lambda chunk: None):
        with open(stdin or os.devnull, "rb") as source:
            start = time.perf_counter()
            with subprocess.Popen(command, stdin=source, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                  bufsize=0) as process:
                while chunk := process.stdout.read(CHUNK):
                    take(chunk)
            self.seconds = time.perf_counter() - start
        if process.returncode != 0:
            fail(f"{' '.join(command)} has failed")


def output_of(command, stdin=None):
    chunks = []
    Run(command, stdin, chunks.append)
    return b"".join(chunks).decode("utf-8", "surrogateescape")


def same(what, answers):
    """Ends the program unless all contestants have the same set."""
    (first, expected), *others = answers.items()
    for name, answer in others:
        if answer != expected:
            fail(f"{what}: {first} and {name} differ: {sorted(expected ^ answer)[:10]}")
    say(f"{what}: {len(expected)} answers, the same from {', '.join(answers)}")


class Bench:
    def __init__(self, folder, program):
        self.inspect = os.path.join(folder, "bin/kiv_inspect")
        self.work = os.path.join(folder, "raw")
        self.program = program
        self.repetitions = int(os.environ.get("KIV_BENCH_REPETITIONS", "5"))
        self.results = []
        self.families = 0

    def time(self, operation, items, commands, stdin=None):
        """Runs the contestants in turns, and adds what each run took."""
        say(f"timing {operation}")
        for repetition in range(self.repetitions):
            for index, (name, command) in enumerate(commands.items()):
                self.add(operation, items, index, name, repetition, Run(command, stdin).seconds)
        self.families += len(commands)

    def add(self, operation, items, index, name, repetition, seconds):
        self.results.append({"name": f"inspect/{operation}/{items}/{name}", "run_type": "iteration",
                             "family_index": self.families + index, "repetition_index": repetition,
                             "items_per_second": items / seconds})

    # --- symbols

    def left_out(self):
        """The symbols of nm's that name no address: (value, name)."""
        table = output_of(["readelf", "-sW", self.program])
        fields = (line.split() for line in table.splitlines())
        return {(int(f[1], 16), f[7].split("@")[0]) for f in fields
                if len(f) >= 8 and f[1] != "Value" and (f[3] == "TLS" or f[6] == "ABS")}

    def symbols(self):
        commands = {"ours": [self.inspect, "symbols", self.program],
                    "nm": ["nm", "-n", "--defined-only", self.program],
                    "llvm-nm": [tool("llvm-nm"), "-n", "--defined-only", self.program]}
        left_out = self.left_out()
        answers = {}
        for name, command in commands.items():
            lines = (line.split(" ", 2) for line in output_of(command).splitlines())
            pairs = ((int(line[0], 16), line[2].split("@")[0]) for line in lines)
            answers[name] = {pair for pair in pairs if pair not in left_out}
        same("symbols", answers)
        self.time("symbols", len(answers["ours"]), commands)

    # --- resolve

    def resolve(self):
        bare = os.path.join(self.work, "without_debug_information")
        subprocess.run(["objcopy", "--strip-debug", self.program, bare], check=True)
        table = [line.split(" ", 3) for line in output_of(["nm", "-n", "-S", "--defined-only", bare]).splitlines()]
        functions = [(int(f[0], 16), int(f[1], 16)) for f in table if len(f) == 4 and f[2] in "tTwW"]
        functions = [(start, size) for start, size in functions if size != 0]
        seed = int(os.environ.get("KIV_BENCH_SEED", "1"))
        say(f"resolve: the seed of the addresses is {seed}")
        chance = random.Random(seed)
        addresses = [start + chance.randrange(size) for start, size in chance.choices(functions, k=ADDRESSES)]
        listed = os.path.join(self.work, "addresses")
        with open(listed, "w", encoding="ascii") as file:
            file.writelines(f"{address:x}\n" for address in addresses)
        commands = {"ours": [self.inspect, "resolve", bare], "addr2line": ["addr2line", "-f", "-e", bare],
                    "llvm-addr2line": [tool("llvm-addr2line"), "-f", "--no-inlines", "-e", bare]}
        answers = {"ours": [re.sub(r"\+0x[0-9a-f]+$", "", line.split(" ", 1)[1])
                            for line in output_of(commands["ours"], listed).splitlines()]}
        for peer in list(commands)[1:]:
            answers[peer] = output_of(commands[peer], listed).splitlines()[::2]
        self.check_names(bare, addresses, answers)
        self.time("resolve", ADDRESSES, commands, listed)

    def check_names(self, bare, addresses, answers):
        names_at = collections.defaultdict(set)
        for line in output_of([self.inspect, "symbols", bare]).splitlines():
            address, _, name = line.split(" ", 2)
            names_at[int(address, 16)].add(name)
        starts = sorted(names_at)
        compared = 0
        for i, address in enumerate(addresses):
            names = names_at[starts[bisect.bisect_right(starts, address) - 1]]
            if len(names) > 1:
                continue
            compared += 1
            for contestant, found in answers.items():
                if found[i] not in names:
                    fail(f"resolve: {address:x} is in {names} and not {found[i]}, as {contestant} has it")
        say(f"resolve: {compared} of {len(addresses)} names compared; the others' starts have several names")

    # --- constants

    def constants(self):
        contestants = {"ours": ([self.inspect, "constants", self.program], OURS),
                       "readelf": (["readelf", "--debug-dump=info", self.program], READELF),
                       "llvm-dwarfdump": ([tool("llvm-dwarfdump"), "--debug-info", self.program], DWARFDUMP)}
        answers, seconds = {}, {}
        for name, (command, pattern) in contestants.items():
            say(f"constants: running {name}")
            reader = Enumerators(pattern)
            seconds[name] = Run(command, None, reader.take).seconds
            reader.finish()
            answers[name] = reader.found
        same("constants", answers)
        for index, name in enumerate(contestants):
            self.add("constants", len(answers["ours"]), index, name, 0, seconds[name])
        self.families += len(contestants)


OURS = re.compile(rb"^E (?:.*::)?([^\n]*?) = (-?[0-9]+)$", re.M)
READELF = re.compile(rb"\(DW_TAG_enumerator\)\n.*DW_AT_name *: (?:\(.*?\): )?(.*)\n"
                     rb".*DW_AT_const_value *: (-?[0-9a-fx]+)")
DWARFDUMP = re.compile(rb"DW_TAG_enumerator\n.*DW_AT_name\t\(\"(.*)\"\)\n.*DW_AT_const_value\t\((-?[0-9a-fx]+)\)")


class Enumerators:
    """The enumerators of an output that comes in chunks, by a pattern with their names and values."""

    LONGEST = 1 << 13  # no match is longer

    def __init__(self, pattern):
        self.pattern = pattern
        self.rest = b""
        self.found = set()

    def take(self, chunk):
        # A match may begin in what is kept, and is found when it is whole. One that is found twice is one of the set.
        text = self.rest + chunk
        end = text.rfind(b"\n", 0, max(len(text) - self.LONGEST, 0)) + 1
        for match in self.pattern.finditer(text):
            if match.end() < len(text):
                self.found.add((match[1], int(match[2], 0) & 0xFFFFFFFFFFFFFFFF))
        self.rest = text[end:]

    def finish(self):
        self.take(b"\n")


def main():
    if len(sys.argv) not in (2, 3):
        fail("usage: bench_inspect.py FOLDER [PROGRAM]")
    folder = sys.argv[1]
    bench = Bench(folder, sys.argv[2] if len(sys.argv) == 3 else unpack_program(folder))
    say(f"looking into {bench.program}, {os.path.getsize(bench.program) >> 20} MiB")
    for operation in os.environ.get("KIV_BENCH_OPERATIONS", "symbols resolve constants").split():
        {"symbols": bench.symbols, "resolve": bench.resolve, "constants": bench.constants}[operation]()
    with open(os.path.join(folder, "raw/inspect.json"), "w", encoding="utf-8") as file:
        json.dump({"benchmarks": bench.results}, file, indent=1)


if __name__ == "__main__":
    main()
