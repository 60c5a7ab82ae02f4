"""Installs the build into a staging folder and uses it from there as a program, a script and a reader would."""
import glob
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD, SOURCE, CMAKE = os.environ["LUTC_BUILD"], pathlib.Path(os.environ["LUTC_SOURCE"]), os.environ["CMAKE"]
os.environ.setdefault("CMAKE_GENERATOR", "Ninja")  # make may not be there
sys.path += [str(SOURCE / "tests" / "support"), str(SOURCE / "tests" / "docs")]
import reader  # noqa: E402
from service import Simulator  # noqa: E402


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp(prefix="lutc-install-")
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.stage = f"{cls.folder}/stage"
        cls.environment = dict(os.environ, PATH=f"{cls.stage}/bin:{os.environ['PATH']}")
        cls.call(CMAKE, "--install", BUILD, "--prefix", cls.stage)
        cls.environment["PKG_CONFIG_PATH"] = os.path.dirname(cls.find("lutc.pc"))
        cls.environment.pop("LD_LIBRARY_PATH", None)

    @classmethod
    def call(cls, *words, **options):
        done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=200,
                              env=cls.environment, **options)
        assert done.returncode == 0, f"{' '.join(words)} returned {done.returncode}:\n{done.stdout}"
        return done.stdout

    @classmethod
    def find(cls, name):
        found = glob.glob(f"{cls.stage}/**/{name}", recursive=True)
        assert len(found) == 1, f"{name}: found {found}"
        return found[0]

    def simulator(self):
        return Simulator(f"{self.stage}/bin/lutc-simulator", "--media", f"{self.folder}/media")

    def test_nothing_but_the_public_parts_is_installed(self):
        self.assertEqual(os.listdir(f"{self.stage}/include"), ["lutc"])
        headers = [path.name for path in SOURCE.glob("*/include/lutc/*")]
        self.assertEqual(sorted(os.listdir(f"{self.stage}/include/lutc")), sorted(headers))
        self.assertEqual(sorted(os.listdir(f"{self.stage}/bin")), ["lutc", "lutc-simulator", "lutc-trace"])
        self.assertEqual(glob.glob(f"{self.stage}/**/*.a", recursive=True), [])
        for name in [self.find("lutc.pc")] + glob.glob(f"{self.stage}/**/*.cmake", recursive=True):
            self.assertNotRegex(pathlib.Path(name).read_text(), f"{SOURCE}|{self.stage}")

    def test_the_library_carries_its_major_version(self):
        dynamic = self.call("readelf", "-dW", os.path.realpath(self.find("liblutc.so")))
        self.assertRegex(dynamic, r"SONAME.*\[liblutc\.so\.1\]")
        self.assertRegex(dynamic, r"NEEDED.*\[libqv\.so\.1\]")

    def test_examples_and_the_readmes_program_build_and_run(self):
        """With CMake in one project; with pkg-config as the README says."""
        blocks = {language: text for _, language, _, text in reader.blocks(reader.text("README.md"))}
        project = pathlib.Path(shutil.copytree(SOURCE / "examples", f"{self.folder}/examples"))
        project.joinpath("example.cpp").write_text(blocks["cpp example"])
        with open(project / "CMakeLists.txt", "a", encoding="utf-8") as file:
            file.write(blocks["cmake"])
        strict = "-Wall -Wextra -Wpedantic -Werror"
        self.call(CMAKE, "-S", project, "-B", project / "build", f"-DCMAKE_PREFIX_PATH={self.stage}",
                  f"-DCMAKE_C_FLAGS={strict}", f"-DCMAKE_CXX_FLAGS={strict}")
        self.call(CMAKE, "--build", project / "build")
        self.assertIn("slope", self.call(project / "build" / "examples" / "build_and_dump"))
        build = "g++ -std=c++17 example.cpp $(pkg-config --cflags --libs lutc) -o example"
        self.assertIn(build, reader.text("README.md"))
        self.call("sh", "-c", build + f" -Wl,-rpath,{os.path.dirname(self.find('liblutc.so'))}", cwd=project)
        with self.simulator():
            for program in ("build/example", "example"):
                self.assertEqual(self.call(project / program), blocks["text"])
            self.assertIn("> code=0", self.call(f"{self.stage}/bin/lutc-trace", project / "example"))

    def test_every_page_is_there_and_formats_without_a_warning(self):
        pages = os.listdir(f"{self.stage}/share/man/man3")
        self.assertEqual({name[:-len(".3.gz")] for name in pages}, set(reader.functions()) | {"lutc"})
        for name in ("lutc.1.gz", "lutc-simulator.1.gz", "lutc-trace.1.gz", "lutc.3.gz", "lutc_recv_preset.3.gz",
                     "lutc_get_override_preset.3.gz", "lutc-grade-files.5.gz", "lutc-colour-files.5.gz"):
            for checker in (["man", "--warnings", "-l"], ["mandoc", "-T", "lint", "-W", "warning"]):
                if shutil.which(checker[0]):
                    environment = dict(os.environ, MANROFFOPT="-ww", MANWIDTH="160", LC_ALL="C.UTF-8")
                    done = subprocess.run(checker + [self.find(name)], capture_output=True, text=True, env=environment,
                                          check=False, timeout=60)
                    self.assertEqual(done.stderr + (done.stdout if checker[0] == "mandoc" else ""), "", name)
                    self.assertNotRegex(done.stdout, r"@[A-Z]+@")
        for name in reader.functions():
            page = self.call("man", "-l", self.find(name + ".3.gz"))
            self.assertRegex(page, rf"NAME\n +{name} +- +\w")
            self.assertIn(f"int {name}(", page)

        page = self.call("man", "-l", self.find("lutc.1.gz"))
        commands = re.findall(r"`(lutc(?: [a-z]+)+)", reader.text("docs", "functions.md"))
        self.assertGreater(len(commands), 20)
        self.assertEqual([command for command in commands if f"   {command} [OPTIONS]" not in page], [])
        self.assertRegex(page, r"EXIT CODES\n +0 +done\n")

    def complete(self, *words):
        """What bash offers for the last of the words."""
        script = ('. "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _lutc; '
                  '[ ${#COMPREPLY[@]} -eq 0 ] || printf "%s\\n" "${COMPREPLY[@]}"')
        file = f"{self.stage}/share/bash-completion/completions/lutc"
        return self.call("bash", "--norc", "-c", script, "bash", file, *words).splitlines()

    def test_bash_completes(self):
        for words, offered in [
                (("presets", "down"), ["download"]), (("--json", "presets", "selec"), ["select", "selected"]),
                (("grade", "cdl", "--ch"), ["--channel"]), (("grade", "cdl", "--channel", ""), []),
                (("dump", f"{SOURCE}/READ"), [f"{SOURCE}/README.md"]), (("nonsense", "x"), []),
                (("presets", "delete", "--name", ""), [])]:  # silent without a service
            self.assertEqual(self.complete("lutc", *words), offered, words)
        self.assertEqual(self.complete("lutc-simulator", "--qui"), ["--quiet"])
        pathlib.Path(self.folder, "grade.json").write_text('{"gradeComboIndex": 1, "components": []}')
        with self.simulator():
            names = ["Day exterior", 'Night "two"', "dusk"]
            for name in names:
                self.call(f"{self.stage}/bin/lutc", "presets", "upload", f"{self.folder}/grade.json", "--name", name)
            self.assertEqual(self.complete("lutc", "presets", "delete", "--name", ""), names)
            self.assertEqual(self.complete("lutc", "presets", "delete", "--name", "Day\\ e"), ["Day exterior"])
            self.assertEqual(self.complete("lutc", "presets", "delete", "--name", "=", "du"), ["dusk"])

    def test_the_wheel_runs_an_example_and_brings_the_fixture(self):
        """In an environment of its own; numpy and pytest are the system's."""
        python, test = f"{self.folder}/python", pathlib.Path(self.folder, "test_it.py")
        example = reader.text("examples", "numpy_lut.py").replace("\n", "\n    ")
        test.write_text(f"def test_a(lutc_simulator, capsys):\n    {example}\n    lutc_simulator.add_fault('*=close')\n"
                        f"    assert lutc.__file__.startswith('{python}') and 'is what was sent' in capsys.readouterr().out\n\n"
                        "def test_b(lutc_simulator): assert not lutc_simulator.state()['faults']\n")
        self.call("/usr/bin/python3", "-m", "venv", "--system-site-packages", python)
        self.call(f"{python}/bin/pip", "install", "--no-index", "--no-deps", *glob.glob(f"{BUILD}/python/*.whl"))
        self.call("env", f"LD_LIBRARY_PATH={os.path.dirname(self.find('liblutc.so'))}", f"{python}/bin/python", "-m", "pytest", test)

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
    def test_zsh_completes(self):
        # Only zsh's line editor has these builtins: what is handed to them is what it would offer.
        script = ('compadd() { print -l -- "${(@P)2}" }; _files() { print "files $*" }; compset() { : }; '
                  'file=$1; shift; words=("$@"); CURRENT=$#; . "$file"')
        for words, offered in [
                (("lutc", "p"), "presets"), (("/anywhere/lutc", "--json", "presets", "d"), "download"),
                (("lutc", "grade", "cdl", "--ch"), "--channel"), (("lutc", "dump", ""), "files "),
                (("lutc", "presets", "restore", ""), "files -/")]:
            self.assertIn(offered, self.call("zsh", "-f", "-c", script, "zsh", self.find("_lutc"), *words).splitlines())


if __name__ == "__main__":
    unittest.main()
