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
import tempfile
import unittest
import zipfile

from macho_file import MachOFile, slices_of

SKIPPED = 75
BUILD, PACKAGING = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
VERSION = sys.argv[3]
CONTENTS = BUILD / "KVXImporter.bundle" / "Contents"
MODULE = CONTENTS / "MacOS" / "KVXImporter"

# What the bundle is made for, each with its oldest macOS.
OLDEST = {line.split()[0]: line.split()[1]
          for line in (PACKAGING / "slices.txt").read_text().splitlines()
          if not line.startswith("#")}

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


def tree_of(processor):
    return BUILD / f"tree-{processor}"


def commands_of(processor):
    """How the files of this project were compiled; those of the run-time library are the compiler's."""
    commands = json.loads((tree_of(processor) / "compile_commands.json").read_text())
    return [command for command in commands if "/packaging/macos/runtime/" not in command["file"]]


def objects_of(processor):
    """The object files of the importer, by their names without the folder of the build."""
    tree = tree_of(processor)
    folder = tree / "src" / "CMakeFiles" / "kvx_importer.dir"
    for command in commands_of(processor):
        output = tree / re.search(r" -o (\S+) -c ", command["command"]).group(1)
        if folder in output.parents:
            yield str(output.relative_to(folder)), output


def sources_of(name, path):
    """The files of src/ that an object is made of: itself, or those that were compiled at a time."""
    if not name.startswith("Unity/"):
        return [name]
    united = path.with_suffix("").read_text()  # .cxx.o
    return re.findall(r'^#include ".*/src/(.+)"$', united, re.M)


def version(text):
    return tuple(map(int, text.split(".")))


def instructions(*arguments):
    for line in tool("llvm-objdump", "-d", "--no-show-raw-insn", *arguments).splitlines():
        match = re.match(r"\s+[0-9a-f]+:\s+(\S.*)", line)
        if match:
            yield match.group(1)


class Sources(unittest.TestCase):
    def test_are_the_current_ones(self):
        """Nothing is left to build, and what was built is what lies in the bundle."""
        name = str(MODULE.relative_to(CONTENTS.parent))
        built = {}
        for processor in OLDEST:
            tree = tree_of(processor)
            dry_run = tool("cmake", "--build", tree, "--target", "KVXImporter", "--", "-n")
            self.assertIn("no work to do", dry_run)
            files = files_of(tree / "bin" / "KVXImporter.bundle")
            built[processor] = files.pop(name)
            in_bundle = files_of(CONTENTS.parent)
            del in_bundle[name]
            self.assertEqual(files, in_bundle)
        self.assertEqual(built, slices_of(MODULE.read_bytes()))
        with zipfile.ZipFile(BUILD / "KVXImporter.zip") as archive:
            zipped = {name: archive.read(name) for name in archive.namelist()
                      if not name.endswith("/")}
        self.assertEqual({f"KVXImporter.bundle/{name}": data
                          for name, data in files_of(CONTENTS.parent).items()}, zipped)


class Module:
    """The part of the executable that is for one processor."""

    @classmethod
    def setUpClass(cls):
        cls.data = slices_of(MODULE.read_bytes())[cls.processor]
        cls.folder = tempfile.TemporaryDirectory()
        cls.path = pathlib.Path(cls.folder.name) / "KVXImporter"
        cls.path.write_bytes(cls.data)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_is_a_bundle_for_its_processor(self):
        magic, processor, _, kind = struct.unpack("<4I", self.data[:16])
        self.assertEqual((magic, processor, kind), (0xFEEDFACF, self.processor_type, 8))

    def test_shares_no_code_with_the_host(self):
        """Names are looked up in the library that they are bound to, and none of the static C++
        library's is offered to, or taken over from, the one that the host may have loaded."""
        two_level, weak_defines, binds_to_weak = 0x80, 0x8000, 0x10000
        (flags,) = struct.unpack_from("<I", self.data, 24)
        self.assertEqual(flags & (two_level | weak_defines | binds_to_weak), two_level)

    def test_runs_on_the_oldest_system(self):
        commands = tool("llvm-objdump", "--macho", "--private-headers", self.path)
        oldest = re.escape(OLDEST[self.processor])
        self.assertRegex(commands,
                         rf"(cmd LC_VERSION_MIN_MACOSX\s+cmdsize 16\s+version|minos) {oldest}\b")

    def test_exports_five_symbols(self):
        names = tool("llvm-nm", "-g", "-U", "-j", self.path).split()
        self.assertEqual(sorted(names), sorted([
            "_AsyncImportEntry", "_asyncImportFunctions", "_fileImportFunctions", "_xImportEntry",
            "_xMoviePlayable"]))

    def test_takes_only_reviewed_symbols(self):
        """Each from the library that has it, and none that is younger than the oldest system."""
        reviewed = {}
        for line in (PACKAGING / "undefined_symbols.txt").read_text().splitlines():
            if line and not line.startswith("#"):
                symbol, library, since, *processors = line.split()
                if self.processor in (processors or OLDEST):
                    reviewed[symbol] = library
                    self.assertLessEqual(version(since), version(OLDEST[self.processor]), line)
        taken = dict(re.findall(r"external (\S+) \(from (\S+)\)", tool("llvm-nm", "-m", "-u", self.path)))
        self.assertEqual(len(taken), len(tool("llvm-nm", "-u", "-j", self.path).split()))
        self.assertEqual({s: l for s, l in taken.items() if reviewed.get(s) != l}, {})
        self.assertEqual(set(reviewed) - set(taken), set())

    def test_every_frame_entry_starts_at_a_function(self):
        module = MachOFile(self.data)
        text, _ = module.sections["__TEXT", "__text"]
        starts = module.function_starts()
        entries = module.frame_entries()
        self.assertGreater(len(starts), 500)
        self.assertIn(text, starts)
        self.assertGreater(len(entries), 0)
        self.assertEqual([hex(entry) for entry in entries if entry not in starts], [])

    def test_names_no_file_of_the_machine_that_built(self):
        """The only paths are those of the system's own files."""
        data = self.data
        paths = set(re.findall(rb"/[A-Za-z0-9_.+-]+/[A-Za-z0-9_./+-]{3,}", data))
        self.assertEqual({p for p in paths if not p.startswith((b"/System/Library/", b"/usr/lib/"))},
                         set())
        debugging = 0xE0
        self.assertEqual([t for t in MachOFile(data).symbol_types() if t & debugging], [])

    def test_signature_fits_every_page(self):
        """Signed without an identity, over all that lies in front of the signature."""
        ad_hoc = 0x2
        signature = MachOFile(self.data).signature()
        self.assertTrue(signature["flags"] & ad_hoc)
        self.assertEqual(signature["pages"], [True] * len(signature["pages"]))
        self.assertEqual(len(signature["pages"]), -(-signature["limit"] // 4096))
        self.assertGreater(signature["limit"], len(self.data) * 9 // 10)

    def test_constant_tables_are_read_only(self):
        read_only = 0x10
        module = MachOFile(self.data)
        self.assertTrue(module.segments["__DATA_CONST"]["flags"] & read_only)
        self.assertIn(("__DATA_CONST", "__const"), module.sections)
        self.assertNotIn(("__DATA", "__const"), module.sections)

    def test_loads_the_systems_libraries(self):
        commands = tool("llvm-objdump", "--macho", "--dylibs-used", self.path)
        frameworks = "/System/Library/Frameworks"
        self.assertEqual(sorted(re.findall(r"^\s+(/\S+) \(compat", commands, re.M)), [
            f"{frameworks}/CoreFoundation.framework/Versions/A/CoreFoundation",
            f"{frameworks}/CoreServices.framework/Versions/A/CoreServices",
            "/usr/lib/libSystem.B.dylib"])

    def test_initialises_what_the_start_needs_and_no_more(self):
        found, entries = set(), 0
        for name, path in objects_of(self.processor):
            sections = tool("llvm-objdump", "-h", path)
            sizes = re.findall(r"__mod_init_func\s+([0-9a-f]+)", sections)
            if sizes:
                found.add(name.replace(".cpp.o", ""))
                entries += int(sizes[0], 16) // 8
        self.assertEqual(found, INITIALISED)
        # And the static run-time library adds none.
        sections = tool("llvm-objdump", "-h", self.path)
        size = int(re.search(r"__mod_init_func\s+([0-9a-f]+)", sections).group(1), 16)
        self.assertEqual(size // 8, entries)

    def test_guards_its_stack(self):
        """Every object that reads files, or the host's records, and keeps arrays on its stack."""
        guarded = {source for name, path in objects_of(self.processor)
                   if "___stack_chk_fail" in tool("llvm-nm", "-u", "-j", path).split()
                   for source in sources_of(name, path)}
        for folder in ("quicktime/", "host/", "platform/", "util/"):
            self.assertTrue(any(name.startswith(folder) for name in guarded), folder)
        for command in commands_of(self.processor):
            if "/src/" in command["file"]:
                self.assertIn("-fstack-protector-strong -fno-omit-frame-pointer", command["command"])

    def test_warnings_were_errors(self):
        for command in commands_of(self.processor):
            self.assertIn("-Wall -Wextra -Wpedantic -Werror", command["command"])


class ModuleForX86(Module, unittest.TestCase):
    processor, processor_type = "x86_64", 0x01000007

    def test_pattern_knows_what_is_above(self):
        for line in ("vpaddd", "pmulld", "blendvps", "roundss", "popcntl", "pinsrd", "mulxq",
                     "movbel", "blsrl", "pextrw\t$1, %xmm0, (%rdi)"):
            self.assertTrue(ABOVE_SSSE3.match(line), line)
        for line in ("pshufb", "pinsrw", "pextrw\t$1, %xmm0, %eax", "palignr", "pminub", "pmaxsw",
                     "andnps", "adcl", "addl", "subl", "shll"):
            self.assertFalse(ABOVE_SSSE3.match(line), line)

    def test_stays_at_ssse3(self):
        count = 0
        for name, path in objects_of(self.processor):
            for instruction in instructions(path):
                count += 1
                self.assertIsNone(ABOVE_SSSE3.match(instruction), f"{name}: {instruction}")
        self.assertGreater(count, 10000)


class ModuleForArm64(Module, unittest.TestCase):
    processor, processor_type = "arm64", 0x0100000C

    # A disassembler that knows the base set of ARMv8-A alone has no name for what is above.
    BASE = ("--triple=arm64-apple-macos11", "--mcpu=generic")

    def test_disassembler_knows_the_base_set_alone(self):
        """Of what it is shown it knows the second half."""
        source = pathlib.Path(self.folder.name) / "above.s"
        object_file = pathlib.Path(self.folder.name) / "above.o"
        above = ("ldaddal w0, w1, [x2]", "casal w0, w1, [x2]", "swpal w0, w1, [x2]",
                 "sdot v0.4s, v1.16b, v2.16b", "aese v0.16b, v1.16b", "sha256h q0, q1, v2.4s",
                 "pmull v0.1q, v1.1d, v2.1d", "fadd v0.8h, v1.8h, v2.8h", "crc32b w0, w1, w2",
                 "ldapr w0, [x1]", "fjcvtzs w0, d0", "fcmla v0.4s, v1.4s, v2.4s, #0",
                 "sqrdmlah v0.4s, v1.4s, v2.4s", "bfdot v0.4s, v1.8h, v2.8h",
                 "smmla v0.4s, v1.16b, v2.16b", "braa x0, x1")
        base = ("ldaxr w0, [x1]", "tbl v0.16b, { v1.16b }, v2.16b", "fcvtns v0.4s, v1.4s",
                "sqxtn v0.4h, v1.4s", "urhadd v0.16b, v1.16b, v2.16b", "frintp d0, d0")
        source.write_text("\n".join(above + base) + "\n")
        tool("llvm-mc", "--triple=arm64-apple-macos11", "--filetype=obj",
             "--mattr=+v8.6a,+lse,+dotprod,+crypto,+sha2,+aes,+fullfp16,+crc,+rcpc,+bf16,+i8mm",
             source, "-o", object_file)
        known = ["<unknown>" not in line for line in instructions(*self.BASE, object_file)]
        self.assertEqual(known, [False] * len(above) + [True] * len(base))

    def test_stays_at_the_base_set(self):
        count = 0
        for instruction in instructions(*self.BASE, self.path):
            count += 1
            self.assertNotIn("<unknown>", instruction)
        self.assertGreater(count, 10000)


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
        self.assertEqual(info["LSMinimumSystemVersion"], min(OLDEST.values(), key=version))
        self.assertEqual(info["LSMinimumSystemVersionByArchitecture"], OLDEST)

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
