"""Installs a build into a temporary folder of it, and looks at what is there, builds programs with
it, and compares what helps people with what the program says of itself.

Wants in the environment BUILD, the folder of the build, and the tools CMAKE and CXX."""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ["BUILD"])
EXAMPLES = SOURCE / "examples"

CONSUMER = """
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(Brindlemoss {version} REQUIRED)
add_executable(rate {source})
target_link_libraries(rate Brindlemoss::brindlemoss)
"""

# The completion of a command line whose last word is yet to be typed.
COMPLETION = """
source "$1"; shift
COMP_WORDS=("$@")
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
_brindlemoss 2>/dev/null
echo "${COMPREPLY[*]}"
"""


def run(*command, **options):
    """What a program printed. One that fails fails the test, with what it said."""
    words = [str(word) for word in command]
    result = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            check=False, **options)
    if result.returncode != 0:
        raise AssertionError(f"{' '.join(words)}\n{result.stdout}")
    return result.stdout


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="installation-", dir=BUILD))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        run(os.environ["CMAKE"], "--install", BUILD, "--prefix", cls.folder / "first")
        # Nothing of it may hold on to where it was put at first.
        cls.prefix = (cls.folder / "first").rename(cls.folder / "moved")
        cls.program = cls.prefix / "bin/brindlemoss"
        cls.libraries = next(cls.prefix.glob("lib*/**/libbrindlemoss.so")).parent
        cls.version = cls.say("--version").strip()
        cls.environment = os.environ | {
            "BRINDLEMOSS_HOME": str(cls.folder / "home"),
            "LD_LIBRARY_PATH": str(cls.libraries),
            "PKG_CONFIG_PATH": str(cls.libraries / "pkgconfig"),
        }

    @classmethod
    def say(cls, *arguments):
        return run(cls.program, "--home", cls.folder / "home", *arguments)

    def installed(self, pattern):
        return {str(path.relative_to(self.prefix)) for path in self.prefix.glob(pattern)}


class Files(Installed):
    def test_everything_has_its_place(self):
        self.assertEqual(self.installed("*"), {"bin", "include", self.libraries_name(), "share"})
        self.assertEqual(self.installed("bin/*"), {"bin/brindlemoss"})
        self.assertEqual(self.installed("include/**/*.*"),
                         {"include/brindlemoss.h", "include/brindlemoss/component.h"})
        self.assertEqual({path.name for path in self.libraries.glob("*.so*")},
                         {"libbrindlemoss.so", f"libbrindlemoss.so.{self.version}",
                          f"libbrindlemoss.so.{self.version.split('.')[0]}"})
        for path in ("share/brindlemoss/brindlemoss.idl",
                     "share/bash-completion/completions/brindlemoss",
                     "share/man/man1/brindlemoss.1", "share/man/man3/brindlemoss.3",
                     "share/doc/brindlemoss/README.md",
                     "share/doc/brindlemoss/docs/registry.md",
                     "share/doc/brindlemoss/examples/embedding/rate.c"):
            self.assertTrue((self.prefix / path).is_file(), path)

    def libraries_name(self):
        return self.libraries.relative_to(self.prefix).parts[0]

    def test_only_the_owner_may_write(self):
        for path in self.prefix.rglob("*"):
            if not path.is_symlink():
                self.assertEqual(path.stat().st_mode & 0o022, 0, path)

    def test_the_program_reads_the_texts_beside_it(self):
        languages = self.prefix / "share/brindlemoss/languages"
        self.assertEqual(self.installed("share/brindlemoss/languages/*"),
                         {f"share/brindlemoss/languages/{path.name}"
                          for path in (SOURCE / "share/languages").iterdir()})
        aside = (languages / "DA0.ini").rename(self.folder / "DA0.ini")
        self.assertNotIn("Dansk", self.say("languages"))
        aside.rename(languages / "DA0.ini")
        self.assertIn("Dansk", self.say("languages"))


class Surface(Installed):
    def test_the_library_has_its_name_and_opens_the_optional_ones_when_needed(self):
        dynamic = run("readelf", "--dynamic", "--wide", self.libraries / "libbrindlemoss.so")
        self.assertIn(f"[libbrindlemoss.so.{self.version.split('.')[0]}]", dynamic)
        needed = run("readelf", "--dynamic", "--wide", self.program) + dynamic
        for name in ("libfreeimage", "libcld2", "RUNPATH", "RPATH"):
            self.assertNotIn(name, needed)

    def test_the_library_shows_what_the_headers_declare_and_no_more(self):
        c_header = (SOURCE / "include/brindlemoss.h").read_text(encoding="utf-8")
        cpp_header = (SOURCE / "include/brindlemoss/component.h").read_text(encoding="utf-8")
        lines = run("nm", "--dynamic", "--defined-only", "--demangle", "--no-sort",
                    self.libraries / "libbrindlemoss.so").splitlines()
        shown = {line.split(" ", 2)[2].split("@")[0] for line in lines}
        c_functions = {name for name in shown if name.startswith("brindlemoss_")}
        self.assertEqual(c_functions, set(re.findall(r"\b(brindlemoss_\w+)\(", c_header)))
        named = re.compile(r"(?:(?:typeinfo|typeinfo name|vtable) for )?"
                           r"brindlemoss::component::(\w+)\b")
        for name in shown - c_functions - {"BRINDLEMOSS_0"}:
            match = named.match(name)
            self.assertTrue(match, name)
            self.assertRegex(cpp_header, rf"\b{match[1]}\b")
        surface = "brindlemoss::component::"
        for name in ("create_object(std::basic_string_view<char, std::char_traits<char> >)",
                     "load()", "unload()", "live_objects()", "can_unload_now()", "classes()",
                     "object::~object()"):
            self.assertIn(surface + name, shown)
        for kind in ("typeinfo for ", "typeinfo name for ", "vtable for "):
            self.assertIn(kind + surface + "object", shown)


class Hardening(Installed):
    def binaries(self):
        return self.program, self.libraries / "libbrindlemoss.so"

    def test_what_is_loaded_cannot_be_written_over(self):
        for binary in self.binaries():
            shape = run("readelf", "--file-header", "--program-headers", "--dynamic", "--wide", binary)
            self.assertRegex(shape, r"Type: +DYN", binary)
            self.assertRegex(shape, r"GNU_RELRO", binary)
            self.assertRegex(shape, r"FLAGS_1\).*\bNOW\b", binary)
            self.assertRegex(shape, r"GNU_STACK.* RW +0x", binary)
            self.assertNotIn("TEXTREL", shape, binary)
        self.assertRegex(run("readelf", "--dynamic", "--wide", self.program), r"FLAGS_1\).*\bPIE\b")

    def test_overflows_are_looked_for_where_it_runs(self):
        for binary in self.binaries():
            wanted = run("nm", "--dynamic", "--undefined-only", binary)
            self.assertIn("__stack_chk_fail", wanted, binary)
            if os.environ["BUILD_TYPE"] != "Debug":
                self.assertRegex(wanted, r"__(memcpy|snprintf|vsnprintf|read)_chk", binary)


class Consumers(Installed):
    def expect_ratings(self, program):
        mails = [EXAMPLES / "gtube.eml", EXAMPLES / "plain-text.eml"]
        self.assertEqual(
            [line.split()[0] for line in run(program, *mails, env=self.environment).splitlines()],
            [line.split()[0] for line in self.say("score", *mails).splitlines()])

    def test_a_program_is_built_by_pkg_config(self):
        flags = run("pkg-config", "--cflags", "--libs", "brindlemoss",
                    env=self.environment).split()
        program = self.folder / "by-pkg-config"
        run(os.environ["CXX"], "-std=c++20", EXAMPLES / "embedding/rate.cpp", *flags, "-o", program)
        self.expect_ratings(program)
        self.assertEqual(run("pkg-config", "--modversion", "brindlemoss", env=self.environment),
                         self.version + "\n")

    def test_a_program_is_built_by_find_package(self):
        source = self.folder / "consumer"
        source.mkdir()
        (source / "CMakeLists.txt").write_text(CONSUMER.format(
            version=self.version, source=EXAMPLES / "embedding/rate.cpp"), encoding="utf-8")
        run(os.environ["CMAKE"], "-S", source, "-B", source / "build",
            f"-DCMAKE_PREFIX_PATH={self.prefix}", f"-DCMAKE_CXX_COMPILER={os.environ['CXX']}")
        run(os.environ["CMAKE"], "--build", source / "build")
        self.expect_ratings(source / "build/rate")


class Help(Installed):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.commands = {}
        cls.take_help(())

    @classmethod
    def take_help(cls, command):
        """Reads the options and subcommands of a command, and of those below it."""
        text = cls.say(*command, "--help")
        below = text.partition("\nSubcommands:\n")[2]
        options = set(re.findall(r"^  (?:-\w,)?(--[\w-]+)", text, re.MULTILINE))
        names = set(re.findall(r"^  (\w+) ", below, re.MULTILINE))
        cls.commands[command] = (options, names)
        for name in names:
            cls.take_help((*command, name))

    def test_there_is_something_to_compare(self):
        self.assertIn("--overlay", self.commands[("image",)][0])
        self.assertIn("export", self.commands[("rules", "allow")][1])

    def test_the_manual_page_tells_of_every_command_and_option(self):
        page = (self.prefix / "share/man/man1/brindlemoss.1").read_text(encoding="utf-8")
        told = [line.replace(",", " ").split() for line in page.splitlines()
                if line.startswith(".")]
        flags = {f"-{line[at + 1]}" for line in told for at, word in enumerate(line[:-1])
                 if word in ("Fl", ".Fl")}
        words = {word for line in told for word in line if {"Ic", "Cm", ".It"} & set(line)}
        for command, (options, names) in self.commands.items():
            self.assertLessEqual(options, flags, command)
            self.assertLessEqual(names, words, command)

    def test_the_manual_page_of_the_library_tells_of_every_function(self):
        header = (self.prefix / "include/brindlemoss.h").read_text(encoding="utf-8")
        page = (self.prefix / "share/man/man3/brindlemoss.3").read_text(encoding="utf-8")
        self.assertEqual(set(re.findall(r"\.F[on] (brindlemoss_\w+)", page)),
                         set(re.findall(r"\b(brindlemoss_\w+)\(", header)))

    def test_the_completion_offers_every_command_and_option(self):
        script = self.prefix / "share/bash-completion/completions/brindlemoss"
        for command, (options, names) in self.commands.items():
            def offered(word):
                return set(run("bash", "-c", COMPLETION, "bash", script, "brindlemoss", *command,
                               word, cwd=self.folder).split())
            self.assertEqual(offered("-"), options | {"--home", "--json"}, command)
            if names:
                self.assertEqual(offered(""), names, command)

    def test_the_package_lays_every_key_of_the_machine(self):
        script = (SOURCE / "packaging/debian/postinst").read_text(encoding="utf-8")
        keys = [line.rstrip("\\") for line in self.say("registry", "--machine", "list").split("\n")]
        self.assertEqual(set(re.findall(r'"key": "([^"]+)"', script)), set(filter(None, keys)))


if __name__ == "__main__":
    unittest.main()
