"""The preset library through the tool: edits, transfer, backup and restore."""
import filecmp
import json
import os
import resource
import shutil
import signal
import subprocess
import unittest

from tool import DONE, INTERRUPTED, LUTC, REFUSED, USAGE, WithSimulator

TABLE_SIZE = 33 ** 3 * 3 * 2


class Presets(WithSimulator):
    def names(self):
        return [preset["presetName"] for preset in self.json("list")["presets"]]

    def json(self, *arguments):
        return json.loads(self.expect(DONE, "presets", *arguments, "--json").stdout)

    def upload(self, name, components=(), combination=1, **options):
        grade = {"name": name, "gradeComboIndex": combination, "components": list(components)}
        self.expect(DONE, "presets", "upload", self.write("upload.json", json.dumps(grade)),
                    *(part for key, value in options.items() for part in ("--" + key, value)))

    def make_backup(self, folder, count, components=(), **index):
        """A backup as an editor might leave it."""
        os.makedirs(self.path(folder), exist_ok=True)
        files = []
        for i in range(count):
            files.append(f"{i + 1:03}-p.json")
            grade = {"name": f"preset/{count - i}", "gradeComboIndex": 1, "components": list(components)}
            self.write(os.path.join(folder, files[-1]), json.dumps(grade))
        self.write(os.path.join(folder, "library.json"), json.dumps({"formatVersion": 1, "presets": files, **index}))
        return self.path(folder)

    def assertSameFolders(self, one, other):
        self.assertEqual(sorted(os.listdir(one)), sorted(os.listdir(other)))
        for name in os.listdir(one):
            self.assertTrue(filecmp.cmp(os.path.join(one, name), os.path.join(other, name), shallow=False), name)

    def test_edits_and_selection(self):
        for name in ("a", "b", "12"):
            self.upload(name)
        self.upload("first", to="1")
        self.assertEqual(self.names(), ["first", "a", "b", "12"])
        self.expect(DONE, "presets", "move", "--name", "12", "--to", "1")
        self.expect(DONE, "presets", "rename", "--index", "2", "--new-name", "grade")
        self.expect(DONE, "presets", "rename", "--name", "grade", "--new-name=-.5")
        self.expect(DONE, "presets", "rename", "--name", "-.5", "--new-name", "second")
        self.expect(USAGE, "presets", "delete", "--name", "a")
        self.expect(DONE, "presets", "delete", "--name", "a", "--yes")
        self.assertEqual(self.names(), ["12", "second", "b"])
        self.expect(DONE, "presets", "select", "--channel", "1", "--name", "b")
        self.assertEqual(self.json("selected", "--channel", "1"), {"presetName": "b", "presetIndex": 3})
        self.expect(DONE, "presets", "override", "set", "--index", "1")
        self.assertEqual(self.json("override", "get")["presetName"], "12")
        self.expect(DONE, "presets", "override", "clear")
        self.expect(REFUSED, "presets", "override", "get")
        self.expect(DONE, "presets", "save")
        self.expect(DONE, "presets", "clear", "--yes")
        self.assertEqual(self.names(), [])
        self.expect(DONE, "presets", "load", "--yes")
        self.assertEqual(self.names(), ["12", "second", "b"])

    def test_download_and_upload_lose_nothing(self):
        # What a file says of CDL and saturation comes back: the combination tells which is which.
        values = {"slope": [1.1, 1.0, 1 / 3], "offset": [-0.1, 0.0, 1e-300], "power": [1.0, 2.0, 1.0], "saturation": 0.7}
        neutral = {"slope": [1.0] * 3, "offset": [0.0] * 3, "power": [1.0] * 3, "saturation": 0.5}
        table = self.write("table.bin", os.urandom(999))
        for combination, components in [
                (1, [{"type": "cdl", "typeIndex": 2, **neutral}, {"type": "1dlut", "dataFormat": "f", "file": "table.bin"}]),
                (2, [{"type": "cdl", **neutral}, {"type": "saturation", **neutral}]),
                (4, [{"type": "saturation", **neutral}, {"type": "cdl", **values}]),
                (4, [{"type": "cdl", **values}]),
                (1, [{"type": "cdl", "file": "table.bin"}]),
                (3, [])]:
            with self.subTest(combination=combination, components=components):
                self.upload("p", components, combination)
                self.expect(DONE, "presets", "download", self.path("down.json"), "--name", "p", "--yes")
                with open(self.path("down.json")) as file:
                    got = json.load(file)
                for component in got["components"]:
                    if "file" in component:
                        self.assertTrue(filecmp.cmp(self.path(component["file"]), table, shallow=False))
                        component["file"] = "table.bin"
                self.assertEqual(got, {"name": "p", "gradeComboIndex": combination, "components": components})
        self.upload("q", [{"type": "saturation", "typeIndex": 1, **neutral}], 4)
        noticed = subprocess.run([LUTC, "presets", "download", self.path("q.json"), "--name", "q"], capture_output=True)
        self.assertEqual(noticed.returncode, DONE)
        self.assertIn(b"note: preset 'q': component 1 is either a cdl or a saturation", noticed.stderr)
        self.expect(USAGE, "presets", "download", self.path("q.json"), "--name", "q")
        self.expect(REFUSED, "presets", "download", self.path("new.json"), "--index", "9")
        self.assertFalse(os.path.exists(self.path("new.json")))

    def test_a_download_that_does_not_fit_changes_nothing(self):
        self.write("small.bin", b"s")
        self.write("large.bin", os.urandom(1 << 18))
        self.upload("p", [{"type": "cdl", "file": "small.bin"}, {"type": "3dlut", "dataFormat": "f", "file": "large.bin"}])
        old = self.write("down-1-cdl.bin", b"old")
        before = os.listdir(self.folder)
        limited = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 17, resource.RLIM_INFINITY))
        result = subprocess.run([LUTC, "presets", "download", self.path("down.json"), "--name", "p", "--yes"],
                                capture_output=True, preexec_fn=limited, restore_signals=False, timeout=60)
        self.assertEqual((result.returncode, result.stderr.count(b"\n")), (REFUSED, 1), result.stderr)
        self.assertEqual(os.listdir(self.folder), before)
        with open(old, "rb") as file:
            self.assertEqual(file.read(), b"old")

    def test_a_full_library_goes_round(self):
        made = self.path("made")
        os.mkdir(made)
        for name in ("one.bin", "two.bin"):
            self.write(os.path.join("made", name), os.urandom(TABLE_SIZE))
        self.make_backup("made", 100, [{"type": "1dlut", "dataFormat": "uint16", "file": "one.bin"},
                                       {"type": "cdl", "typeIndex": 1, "offset": [0.1, 0.2, 0.3]},
                                       {"type": "3dlut", "dataFormat": "uint16", "file": "two.bin"}])
        self.expect(DONE, "presets", "restore", made)
        self.assertEqual(self.names(), [f"preset/{100 - i}" for i in range(100)])
        self.expect(DONE, "presets", "backup", self.path("b1"))
        self.assertTrue(filecmp.cmp(self.path("b1", "100-preset_1-3-3dlut.bin"), self.path("made", "two.bin"), False))
        self.expect(DONE, "presets", "clear", "--yes")
        self.expect(DONE, "presets", "restore", self.path("b1"))
        self.expect(DONE, "presets", "backup", self.path("b2") + "/")
        self.assertSameFolders(self.path("b1"), self.path("b2"))

    def test_restore_replaces_a_full_library_of_others(self):
        self.expect(DONE, "presets", "restore", self.make_backup("full", 100))
        folder = self.make_backup("few", 3)
        for i, name in enumerate(("x", "preset/50", "y")):
            self.write(f"few/{i + 1:03}-p.json", json.dumps({"name": name, "components": []}))
        self.expect(USAGE, "presets", "restore", folder)
        self.expect(DONE, "presets", "restore", folder, "--yes")
        self.assertEqual(self.names(), ["x", "preset/50", "y"])

    def test_a_broken_backup_changes_nothing(self):
        self.upload("kept")
        good = self.make_backup("good", 2, [{"type": "1dlut", "dataFormat": "f", "file": "t.bin"}])
        self.write("good/t.bin", b"table")
        preset = {"name": "n", "components": []}
        combos = [{"gradeComboIndex": 1, "gradeCombo": ["another"]}]
        for file, content, code, complaint in [
                ("t.bin", None, REFUSED, "t.bin"),
                ("002-p.json", None, REFUSED, "002-p.json"),
                ("library.json", None, REFUSED, "library.json"),
                ("002-p.json", "{", USAGE, "no JSON"),
                ("002-p.json", {"components": []}, USAGE, "name: is missing"),
                ("002-p.json", {**preset, "name": "preset/2"}, USAGE, "another preset's name"),
                ("002-p.json", {**preset, "name": "n" * 33}, USAGE, "33 bytes"),
                ("002-p.json", {**preset, "gradeComboIndex": 5}, USAGE, "no grade combination 5"),
                ("library.json", '{"formatVersion": 1 "presets": []}', USAGE, "line 1, column"),
                ("t.bin", "t" * (2 << 20), USAGE, "more than 2097152"),
                ("library.json", {"formatVersion": 2, "presets": []}, USAGE, "formatVersion"),
                ("library.json", {"formatVersion": 1, "presets": ["../x.json"]}, USAGE, "same folder"),
                ("library.json", {"formatVersion": 1, "gradeCombos": combos, "presets": ["001-p.json"]}, USAGE,
                 "grade combination 1 is not the same")]:
            if file == "t.bin" and content:
                content += "t"
            with self.subTest(file=file, complaint=complaint):
                folder = self.path("broken")
                shutil.copytree(good, folder)
                if content is None:
                    os.remove(os.path.join(folder, file))
                else:
                    self.write(os.path.join("broken", file), content if isinstance(content, str) else json.dumps(content))
                self.assertIn(complaint, self.expect(code, "presets", "restore", folder, "--yes").stderr)
                shutil.rmtree(folder)
        self.assertIn("room for 100", self.expect(USAGE, "presets", "restore", self.make_backup("many", 101), "--yes").stderr)
        self.assertEqual(self.names(), ["kept"])
        self.assertEqual(self.simulator.count("deletePreset"), 0)

    def test_backup_writes_whole_or_not_at_all(self):
        # One bad answer is asked for again; three in a row are a failure.
        self.start(*(part for call in (2, 6, 7, 8) for part in ("--fault", f"getPreset:{call}=truncate")))
        self.expect(DONE, "presets", "restore", self.make_backup("made", 3))
        folder = self.path("b")
        self.expect(DONE, "presets", "backup", folder)
        before = {name: os.stat(os.path.join(folder, name)).st_mtime_ns for name in os.listdir(folder)}
        self.expect(USAGE, "presets", "backup", folder)
        failed = self.expect(REFUSED, "presets", "backup", folder, "--yes")
        self.assertIn("1 of 3 presets had been read", failed.stderr)
        after = {name: os.stat(os.path.join(folder, name)).st_mtime_ns for name in os.listdir(folder)}
        self.assertEqual(before, after)
        self.expect(DONE, "presets", "delete", "--index", "1", "--yes")
        self.expect(DONE, "presets", "backup", folder, "--yes")
        self.assertEqual(sorted(os.listdir(folder)), ["001-preset_2.json", "002-preset_1.json", "library.json"])
        self.write("b/notes.txt", "mine")
        self.assertIn("notes.txt", self.expect(REFUSED, "presets", "backup", folder, "--yes").stderr)
        self.assertEqual([name for name in os.listdir(self.folder) if ".part" in name], [])

    def test_restore_goes_on_after_a_failure_and_an_interrupt(self):
        self.start("--fault", "sendPreset:2=refuse", "--fault", "sendPreset:4=delay,500")
        folder = self.make_backup("made", 3)
        self.assertIn("1 of 3 presets are restored", self.expect(REFUSED, "presets", "restore", folder).stderr)
        process = subprocess.Popen([LUTC, "presets", "restore", folder, "--yes"], stderr=subprocess.PIPE)
        self.simulator.wait_for("< sendPreset", 4)
        process.send_signal(signal.SIGINT)
        said = process.communicate(timeout=60)[1].decode()
        self.assertEqual(process.returncode, INTERRUPTED, said)
        self.assertIn("2 of 3 presets are restored", said)
        self.expect(DONE, "presets", "restore", folder, "--yes")
        self.assertEqual(self.names(), ["preset/3", "preset/2", "preset/1"])


if __name__ == "__main__":
    unittest.main()
