#!/usr/bin/env python3
"""Reads the bundle for macOS with tools that know its formats.

Usage: bundle_test.py BUILD_FOLDER PACKAGING_FOLDER VERSION
"""

import json
import pathlib
import plistlib
import re
import shutil
import struct
import subprocess
import sys
import unittest
import zipfile

from macho_file import MachOFile

SKIPPED = 75
BUILD, PACKAGING = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
VERSION = sys.argv[3]
CONTENTS = BUILD / "KVXImporter.bundle" / "Contents"
MODULE = CONTENTS / "MacOS" / "KVXImporter"
TREE = BUILD / "tree"
OBJECTS = TREE / "src" / "CMakeFiles" / "kvx_importer.dir"

# The translation units with work at load time: the registry's statics and the once-objects.
INITIALISED = {"core/indexed", "core/per_thread_buffer"}

# Supplementary SSE3 is what every processor has that runs the oldest system named.
ABOVE_SSSE3 = re.compile(
    r"^(v[a-z]|mulx|pextr[bdq]|pinsr[bdq]|pblend|blend|ptest|pmov[sz]x|pmulld|pmuldq|packusdw|"
    r"pmin(sb|sd|uw|ud)|pmax(sb|sd|uw|ud)|round[ps][sd]|dpp[sd]|mpsadbw|phminposuw|pcmpeqq|pcmpgtq|"
    r"pcmp[ei]str|movntdqa|insertps|extractps|crc32|popcnt|lzcnt|tzcnt|andn[lq]?$|pdep|pext[lq]?$|"
    r"aes|pclmul|sha[0-9]|rorx|sarx|shlx|shrx|bextr|bzhi|bls[ir]|blsmsk|movbe|ad[co]x[lq]|gf2p8|"
    # SSE2 takes a word out to a register alone.
    r"pextrw\s.*\()")


def tool(name, *arguments):
    for candidate in (name, name + "-16", name + "-14"):
        if shutil.which(candidate):
            return subprocess.run([candidate, *map(str, arguments)], check=True, text=True,
                                  stdout=subprocess.PIPE).stdout
    raise FileNotFoundError(name)


def files_of(folder):
    return {str(p.relative_to(folder)): p.read_bytes() for p in folder.rglob("*") if p.is_file()}


def objects():
    """The object files of the importer, by their names without the folder of the build."""
    commands = json.loads((TREE / "compile_commands.json").read_text())
    for command in commands:
        output = TREE / re.search(r" -o (\S+) -c ", command["command"]).group(1)
        if OBJECTS in output.parents:
            yield str(output.relative_to(OBJECTS)), output


class Sources(unittest.TestCase):
    def test_are_the_current_ones(self):
        """Nothing is left to build, and what was built is what lies in the bundle."""
        dry_run = tool("cmake", "--build", TREE, "--target", "KVXImporter", "--", "-n")
        self.assertIn("no work to do", dry_run)
        self.assertEqual(files_of(TREE / "bin" / "KVXImporter.bundle"),
                         files_of(BUILD / "KVXImporter.bundle"))
        with zipfile.ZipFile(BUILD / "KVXImporter.zip") as archive:
            zipped = {name: archive.read(name) for name in archive.namelist()
                      if not name.endswith("/")}
        self.assertEqual({f"KVXImporter.bundle/{name}": data
                          for name, data in files_of(BUILD / "KVXImporter.bundle").items()}, zipped)


class Module(unittest.TestCase):
    def test_is_a_bundle_for_x86_64(self):
        magic, processor, _, kind = struct.unpack("<4I", MODULE.read_bytes()[:16])
        self.assertEqual((magic, processor, kind), (0xFEEDFACF, 0x01000007, 8))

    def test_shares_no_code_with_the_host(self):
        """Names are looked up in the library that they are bound to, and none of the static C++
        library's is offered to, or taken over from, the one that the host may have loaded."""
        two_level, weak_defines, binds_to_weak = 0x80, 0x8000, 0x10000
        (flags,) = struct.unpack_from("<I", MODULE.read_bytes(), 24)
        self.assertEqual(flags & (two_level | weak_defines | binds_to_weak), two_level)

    def test_runs_on_10_13(self):
        commands = tool("llvm-objdump", "--macho", "--private-headers", MODULE)
        self.assertRegex(commands, r"(cmd LC_VERSION_MIN_MACOSX\s+cmdsize 16\s+version|minos) 10\.13\b")

    def test_exports_five_symbols(self):
        names = tool("llvm-nm", "-g", "-U", "-j", MODULE).split()
        self.assertEqual(sorted(names), sorted([
            "_AsyncImportEntry", "_asyncImportFunctions", "_fileImportFunctions", "_xImportEntry",
            "_xMoviePlayable"]))

    def test_takes_only_reviewed_symbols(self):
        """Each from the library that has it, and none that is younger than the oldest system."""
        reviewed = {}
        for line in (PACKAGING / "undefined_symbols.txt").read_text().splitlines():
            if line and not line.startswith("#"):
                symbol, library, since = line.split()
                reviewed[symbol] = library
                self.assertLessEqual(tuple(map(int, since.split("."))), (10, 13), line)
        taken = dict(re.findall(r"external (\S+) \(from (\S+)\)", tool("llvm-nm", "-m", "-u", MODULE)))
        self.assertEqual(len(taken), len(tool("llvm-nm", "-u", "-j", MODULE).split()))
        self.assertEqual({s: l for s, l in taken.items() if reviewed.get(s) != l}, {})
        self.assertEqual(set(reviewed) - set(taken), set())

    def test_every_frame_entry_starts_at_a_function(self):
        module = MachOFile(MODULE.read_bytes())
        text, _ = module.sections["__TEXT", "__text"]
        starts = module.function_starts()
        entries = module.frame_entries()
        self.assertGreater(len(starts), 500)
        self.assertIn(text, starts)
        self.assertGreater(len(entries), 0)
        self.assertEqual([hex(entry) for entry in entries if entry not in starts], [])

    def test_names_no_file_of_the_machine_that_built(self):
        """The only paths are those of the system's own files."""
        data = MODULE.read_bytes()
        paths = set(re.findall(rb"/[A-Za-z0-9_.+-]+/[A-Za-z0-9_./+-]{3,}", data))
        self.assertEqual({p for p in paths if not p.startswith((b"/System/Library/", b"/usr/lib/"))},
                         set())
        debugging = 0xE0
        self.assertEqual([t for t in MachOFile(data).symbol_types() if t & debugging], [])

    def test_signature_fits_every_page(self):
        """Signed without an identity, over all that lies in front of the signature."""
        ad_hoc = 0x2
        signature = MachOFile(MODULE.read_bytes()).signature()
        self.assertTrue(signature["flags"] & ad_hoc)
        self.assertEqual(signature["pages"], [True] * len(signature["pages"]))
        self.assertEqual(len(signature["pages"]), -(-signature["limit"] // 4096))
        self.assertGreater(signature["limit"], MODULE.stat().st_size * 9 // 10)

    def test_constant_tables_are_read_only(self):
        read_only = 0x10
        module = MachOFile(MODULE.read_bytes())
        self.assertTrue(module.segments["__DATA_CONST"]["flags"] & read_only)
        self.assertIn(("__DATA_CONST", "__const"), module.sections)
        self.assertNotIn(("__DATA", "__const"), module.sections)

    def test_loads_the_systems_libraries(self):
        commands = tool("llvm-objdump", "--macho", "--dylibs-used", MODULE)
        frameworks = "/System/Library/Frameworks"
        self.assertEqual(sorted(re.findall(r"^\s+(/\S+) \(compat", commands, re.M)), [
            f"{frameworks}/CoreFoundation.framework/Versions/A/CoreFoundation",
            f"{frameworks}/CoreServices.framework/Versions/A/CoreServices",
            "/usr/lib/libSystem.B.dylib"])

    def test_initialises_what_the_start_needs_and_no_more(self):
        found, entries = set(), 0
        for name, path in objects():
            sections = tool("llvm-objdump", "-h", path)
            sizes = re.findall(r"__mod_init_func\s+([0-9a-f]+)", sections)
            if sizes:
                found.add(name.replace(".cpp.o", ""))
                entries += int(sizes[0], 16) // 8
        self.assertEqual(found, INITIALISED)
        # And the static run-time library adds none.
        sections = tool("llvm-objdump", "-h", MODULE)
        size = int(re.search(r"__mod_init_func\s+([0-9a-f]+)", sections).group(1), 16)
        self.assertEqual(size // 8, entries)


class Code(unittest.TestCase):
    def test_pattern_knows_what_is_above(self):
        for line in ("vpaddd", "pmulld", "blendvps", "roundss", "popcntl", "pinsrd", "mulxq",
                     "movbel", "blsrl", "pextrw\t$1, %xmm0, (%rdi)"):
            self.assertTrue(ABOVE_SSSE3.match(line), line)
        for line in ("pshufb", "pinsrw", "pextrw\t$1, %xmm0, %eax", "palignr", "pminub", "pmaxsw",
                     "andnps", "adcl", "addl", "subl", "shll"):
            self.assertFalse(ABOVE_SSSE3.match(line), line)

    def test_stays_at_ssse3(self):
        instructions = 0
        for name, path in objects():
            for line in tool("llvm-objdump", "-d", "--no-show-raw-insn", path).splitlines():
                match = re.match(r"\s+[0-9a-f]+:\s+(\S.*)", line)
                if match:
                    instructions += 1
                    self.assertIsNone(ABOVE_SSSE3.match(match.group(1)), f"{name}: {line}")
        self.assertGreater(instructions, 10000)

    def test_guards_its_stack(self):
        """Every object that reads files, or the host's records, and keeps arrays on its stack."""
        guarded = {name for name, path in objects()
                   if "___stack_chk_fail" in tool("llvm-nm", "-u", "-j", path).split()}
        for folder in ("quicktime/", "host/", "platform/", "util/"):
            self.assertTrue(any(name.startswith(folder) for name in guarded), folder)
        for command in json.loads((TREE / "compile_commands.json").read_text()):
            if "/src/" in command["file"]:
                self.assertIn("-fstack-protector-strong -fno-omit-frame-pointer", command["command"])

    def test_warnings_were_errors(self):
        commands = (TREE / "compile_commands.json").read_text()
        self.assertEqual(commands.count("-Wall -Wextra -Wpedantic -Werror"),
                         commands.count('"command"'))


class Folder(unittest.TestCase):
    def test_holds_the_four_files(self):
        files = {str(p.relative_to(CONTENTS)) for p in CONTENTS.rglob("*")
                 if p.is_file() and "_CodeSignature" not in p.parts}
        self.assertEqual(files, {"Info.plist", "PkgInfo", "MacOS/KVXImporter",
                                 "Resources/KVXImporter.rsrc"})
        self.assertEqual((CONTENTS / "PkgInfo").read_bytes(), b"BNDL????")
        self.assertTrue((BUILD / "KVXImporter.zip").is_file())

    def test_property_list(self):
        info = plistlib.loads((CONTENTS / "Info.plist").read_bytes())
        self.assertEqual(info["CFBundleExecutable"], "KVXImporter")
        self.assertEqual(info["CFBundlePackageType"], "BNDL")
        self.assertEqual(info["CFBundleSignature"], "????")
        self.assertIs(info["CSResourcesFileMapped"], True)
        self.assertEqual(info["CFBundleVersion"], VERSION)
        self.assertEqual(info["CFBundleShortVersionString"], VERSION)
        self.assertEqual(info["LSMinimumSystemVersion"], "10.13")

    def test_one_resource(self):
        data = (CONTENTS / "Resources" / "KVXImporter.rsrc").read_bytes()

        def word(at, size):
            return int.from_bytes(data[at:at + size], "big")

        contents, resource_map, contents_size, map_size = (word(i, 4) for i in (0, 4, 8, 12))
        self.assertEqual((contents, contents_size), (256, 8))
        self.assertEqual(resource_map, contents + contents_size)
        self.assertEqual(len(data), resource_map + map_size)
        types = resource_map + word(resource_map + 24, 2)
        self.assertEqual(word(resource_map + 26, 2), map_size)  # no names follow
        self.assertEqual(word(types, 2) + 1, 1)
        self.assertEqual(data[types + 2:types + 6], b"IMPT")
        self.assertEqual(word(types + 6, 2) + 1, 1)
        reference = types + word(types + 8, 2)
        self.assertEqual(word(reference, 2), 1000)
        self.assertEqual(word(reference + 2, 2), 0xFFFF)
        place = contents + word(reference + 5, 3)
        self.assertEqual(word(place, 4), 4)
        self.assertEqual(data[place + 4:place + 8], b"KVXI")


if __name__ == "__main__":
    if not CONTENTS.is_dir() or not shutil.which("ld64.lld") and not shutil.which("ld64.lld-14"):
        print("skipped: there is no bundle, as its compiler could not be fetched")
        sys.exit(SKIPPED)
    unittest.main(argv=sys.argv[:1], verbosity=1)
