"""Installs the build into a staging folder and uses it from there as a program, a script and a reader would."""
import glob
import gzip
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD, SOURCE, CMAKE = os.environ["LUTC_BUILD"], os.environ["LUTC_SOURCE"], os.environ["CMAKE"]
os.environ.setdefault("CMAKE_GENERATOR", "Ninja")  # make may not be there
sys.path.insert(0, os.path.join(SOURCE, "tests", "support"))
from service import Simulator  # noqa: E402

STRICT = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]


def run(*words, expect=0, **options):
    done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=200, **options)
    if done.returncode != expect:
        raise AssertionError(f"{' '.join(words)} returned {done.returncode}, not {expect}:\n{done.stdout}")
    return done.stdout


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def page_text(path):
    with gzip.open(path, "rt", encoding="utf-8") as file:
        return file.read().replace("\\-", "-")


class Staged(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp(prefix="lutc-install-")
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.stage = os.path.join(cls.folder, "stage")
        run(CMAKE, "--install", BUILD, "--prefix", cls.stage)
        cls.environment = dict(os.environ, PATH=f"{cls.stage}/bin:{os.environ['PATH']}")
        cls.environment["PKG_CONFIG_PATH"] = os.path.dirname(cls.find("lutc.pc"))
        cls.environment.pop("LD_LIBRARY_PATH", None)

    @classmethod
    def find(cls, name):
        found = glob.glob(f"{cls.stage}/**/{name}", recursive=True)
        assert len(found) == 1, f"{name}: found {found}"
        return found[0]


class Installed(Staged):
    def examples(self):
        sources = glob.glob(f"{SOURCE}/examples/*.c") + glob.glob(f"{SOURCE}/examples/*.cpp")
        self.assertGreater(len(sources), 3)
        return sources

    def test_nothing_but_the_public_parts_is_installed(self):
        self.assertEqual(sorted(os.listdir(f"{self.stage}/include/lutc")),
                         ["bsonDocument.h", "lutc.h", "qv_rpc_client.h"])
        self.assertEqual(os.listdir(f"{self.stage}/include"), ["lutc"])
        self.assertEqual(sorted(os.listdir(f"{self.stage}/bin")), ["lutc", "lutc-simulator"])
        self.assertFalse(glob.glob(f"{self.stage}/**/*.a", recursive=True) +
                         glob.glob(f"{self.stage}/**/*gtest*", recursive=True))
        text = "".join(map(read, [self.find("lutc.pc")] + glob.glob(f"{self.stage}/**/*.cmake", recursive=True)))
        self.assertNotIn(SOURCE, text)
        self.assertNotIn(self.stage, text)

    def test_the_library_carries_its_major_version(self):
        dynamic = run("readelf", "-dW", os.path.realpath(self.find("liblutc.so")))
        self.assertRegex(dynamic, r"SONAME.*\[liblutc\.so\.1\]")
        self.assertRegex(dynamic, r"NEEDED.*\[libqv\.so\.1\]")

    def test_the_programs_run_from_where_they_were_installed(self):
        for program in ["lutc", "lutc-simulator"]:
            self.assertRegex(run(f"{self.stage}/bin/{program}", "--version", env=self.environment), r"\d+\.\d+\.\d+")

    def test_the_examples_build_with_cmake_and_run(self):
        source, build = f"{self.folder}/examples", f"{self.folder}/examples-build"
        shutil.copytree(f"{SOURCE}/examples", source)
        run(CMAKE, "-S", source, "-B", build, f"-DCMAKE_PREFIX_PATH={self.stage}",
            f"-DCMAKE_C_FLAGS={' '.join(STRICT)}", f"-DCMAKE_CXX_FLAGS={' '.join(STRICT)}")
        run(CMAKE, "--build", build, "--parallel", "2")
        self.assertTrue(run(f"{build}/examples/build_and_dump", env=self.environment).strip())

    def test_the_readmes_program_builds_with_its_cmake_lines(self):
        blocks = dict(re.findall(r"^```(cmake|cpp example)\n(.*?)^```", read(f"{SOURCE}/README.md"), re.M | re.S))
        source = f"{self.folder}/readme"
        os.mkdir(source)
        project = "cmake_minimum_required(VERSION 3.22)\nproject(readme CXX)\n" + blocks["cmake"]
        for name, text in [("CMakeLists.txt", project), ("example.cpp", blocks["cpp example"])]:
            with open(f"{source}/{name}", "w", encoding="utf-8") as file:
                file.write(text)
        run(CMAKE, "-S", source, "-B", f"{source}/build", f"-DCMAKE_PREFIX_PATH={self.stage}")
        run(CMAKE, "--build", f"{source}/build")
        with Simulator(f"{self.stage}/bin/lutc-simulator", "--media", f"{self.folder}/media"):
            self.assertIn('"warm"', run(f"{source}/build/example", env=self.environment))

    def test_another_major_version_is_refused_by_cmake(self):
        source = f"{self.folder}/wrong-version"
        os.mkdir(source)
        with open(f"{source}/CMakeLists.txt", "w", encoding="utf-8") as file:
            file.write("cmake_minimum_required(VERSION 3.22)\nproject(wrong CXX)\nfind_package(lutc 2 REQUIRED)\n")
        output = run(CMAKE, "-S", source, "-B", f"{source}/build", f"-DCMAKE_PREFIX_PATH={self.stage}", expect=1)
        self.assertIn('compatible with requested version "2"', " ".join(output.split()))

    def test_the_examples_build_with_pkg_config_in_c11_and_cpp17(self):
        flags = run("pkg-config", "--cflags", "--libs", "lutc", env=self.environment).split()
        for source in self.examples():
            language = ["gcc", "-std=c11"] if source.endswith(".c") else ["g++", "-std=c++17"]
            program = f"{self.folder}/{os.path.basename(source)}.out"
            run(*language, *STRICT, source, "-o", program, *flags, "-pthread",
                f"-Wl,-rpath,{os.path.dirname(self.find('liblutc.so'))}", env=self.environment)
        self.assertTrue(run(f"{self.folder}/build_and_dump.cpp.out", env=self.environment).strip())

    def test_every_page_is_there_and_formats_without_a_warning(self):
        header = read(f"{self.stage}/include/lutc/lutc.h")
        functions = set(re.findall(r"^LUTC_EXPORT int (lutc_\w+)", header, re.M))
        manual = f"{self.stage}/share/man"
        self.assertEqual({name[:-len(".3.gz")] for name in os.listdir(f"{manual}/man3")}, functions | {"lutc"})
        pages = [f"{manual}/man1/lutc.1.gz", f"{manual}/man1/lutc-simulator.1.gz", f"{manual}/man3/lutc.3.gz"]
        for page in pages:
            self.assertNotRegex(page_text(page), r"@[A-Z]+@")
            for checker in (["man", "--warnings", "-l"], ["mandoc", "-T", "lint", "-W", "warning"]):
                if shutil.which(checker[0]):
                    environment = dict(os.environ, MANROFFOPT="-ww", MANWIDTH="160", LC_ALL="C.UTF-8")
                    done = subprocess.run(checker + [page], capture_output=True, text=True, env=environment,
                                          check=False, timeout=60)
                    lint = done.stdout if checker[0] == "mandoc" else ""
                    self.assertEqual(done.stderr + lint, "", page)

    def test_the_tools_page_has_every_command(self):
        page = page_text(f"{self.stage}/share/man/man1/lutc.1.gz")
        commands = re.findall(r"`(lutc(?: [a-z]+)+)", read(f"{SOURCE}/docs/functions.md"))
        self.assertGreater(len(commands), 20)
        self.assertEqual([command for command in commands if f'.SS "{command} ' not in page], [])
        self.assertRegex(page, r'\.SH "EXIT CODES"\n\.TP\n\.B 0\n')


class Completion(Staged):
    """The completions, sourced in their shells."""

    def complete(self, *words):
        """What bash offers for the last of the words."""
        script = ('. "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _lutc; '
                  '[ ${#COMPREPLY[@]} -eq 0 ] || printf "%s\\n" "${COMPREPLY[@]}"')
        file = f"{self.stage}/share/bash-completion/completions/lutc"
        return run("bash", "--norc", "-c", script, "bash", file, *words, env=self.environment).splitlines()

    def test_commands_options_values_and_files(self):
        self.assertIn("presets", self.complete("lutc", "p"))
        self.assertEqual(self.complete("lutc", "presets", "down"), ["download"])
        self.assertEqual(self.complete("/anywhere/lutc", "--json", "presets", "selec"), ["select", "selected"])
        self.assertIn("--channel", self.complete("lutc", "grade", "cdl", "--ch"))
        self.assertEqual(self.complete("lutc", "grade", "cdl", "--channel", ""), [])
        self.assertIn(SOURCE + "/README.md", self.complete("lutc", "dump", SOURCE + "/READ"))
        self.assertEqual(self.complete("lutc-simulator", "--qui"), ["--quiet"])
        self.assertEqual(self.complete("lutc", "nonsense", "x"), [])

    def test_names_of_presets_come_from_the_running_service(self):
        self.assertEqual(self.complete("lutc", "presets", "delete", "--name", ""), [], "silent without a service")
        grade = f"{self.folder}/grade.json"
        with open(grade, "w", encoding="utf-8") as file:
            file.write('{"gradeComboIndex": 1, "components": []}')
        with Simulator(f"{self.stage}/bin/lutc-simulator", "--media", f"{self.folder}/media"):
            for name in ["Day exterior", 'Night "two"', "dusk"]:
                run(f"{self.stage}/bin/lutc", "presets", "upload", grade, "--name", name)
            self.assertEqual(self.complete("lutc", "presets", "delete", "--name", ""),
                             ["Day exterior", 'Night "two"', "dusk"])
            self.assertEqual(self.complete("lutc", "presets", "delete", "--name", "Day\\ e"), ["Day exterior"])
            self.assertEqual(self.complete("lutc", "presets", "delete", "--name", "=", "du"), ["dusk"])

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
    def test_zsh_offers_the_same(self):
        def complete(*words):
            # Only zsh's line editor has these builtins: what is handed to them is what it would offer.
            script = ('compadd() { print -l -- "${(@P)2}" }; _files() { print "files $*" }; compset() { : }; '
                      'file=$1; shift; words=("$@"); CURRENT=$#; . "$file"')
            file = self.find("_lutc")
            return run("zsh", "-f", "-c", script, "zsh", file, *words, env=self.environment).splitlines()

        self.assertIn("presets", complete("lutc", ""))
        self.assertIn("download", complete("/anywhere/lutc", "--json", "presets", "d"))
        self.assertIn("--channel", complete("lutc", "grade", "cdl", "--ch"))
        self.assertEqual(complete("lutc", "dump", ""), ["files "])
        self.assertEqual(complete("lutc", "presets", "restore", ""), ["files -/"])
        self.assertEqual(complete("lutc", "lut", "pack", "--byte-order="), ["little", "big"])


if __name__ == "__main__":
    unittest.main()
