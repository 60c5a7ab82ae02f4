"""The preset library through the tool: edits, transfer, backup and restore."""
import filecmp
import json
import os
import resource
import shutil
import signal
import struct
import subprocess
import unittest

from tool import DONE, INTERRUPTED, LUTC, REFUSED, USAGE, WithSimulator, on_another_host, run

TABLE_SIZE = 33 ** 3 * 3 * 2
NAME = 'N\u00e4me "quoted"/..'


class Presets(WithSimulator):
    def names(self):
        return [preset["presetName"] for preset in self.json("list")["presets"]]

    def json(self, *arguments):
        return json.loads(self.expect(DONE, "presets", *arguments, "--json").stdout)

    def upload(self, name, components=(), combination=1, **options):
        grade = {"name": name, "gradeComboIndex": combination, "components": list(components)}
        self.expect(DONE, "presets", "upload", self.write("upload.json", json.dumps(grade)),
                    *(part for key, value in options.items() for part in ("--" + key, value)))

    def make_backup(self, folder, count, components=()):
        """A backup as an editor might leave it."""
        os.makedirs(self.path(folder), exist_ok=True)
        files = []
        for i in range(count):
            files.append(f"{i + 1:03}-p.json")
            grade = {"name": f"preset/{count - i}", "gradeComboIndex": 1, "components": list(components)}
            self.write(f"{folder}/{files[-1]}", json.dumps(grade))
        self.write(f"{folder}/library.json", json.dumps({"formatVersion": 1, "presets": files}))

    def test_edits_and_selection(self):
        for name in ("a", "b", "12"):
            self.upload(name)
        self.upload("first", to="1")
        self.assertEqual(self.names(), ["first", "a", "b", "12"])
        self.check((DONE, "presets move --name 12 --to 1"), (DONE, "presets rename --index 2 --new-name grade"),
                   (DONE, "presets rename --name grade --new-name=-.5"), (DONE, "presets rename --name -.5 --new-name second"),
                   (USAGE, "presets delete --name a"), (DONE, "presets delete --name a --yes"),
                   (DONE, "presets list", "  presetIndex  presetName  gradeComboIndex  gradeCombo\n", "2            second"),
                   (DONE, "presets select --channel 1 --name b"),
                   (DONE, "presets selected --channel 1", "presetName: b\npresetIndex: 3\n"),
                   (DONE, "presets override set --index 1"), (DONE, "presets override get", "presetName: 12\n"),
                   (DONE, "presets override clear"), (REFUSED, "presets override get"),
                   (DONE, "presets save"), (DONE, "presets clear --yes"))
        self.assertEqual(self.names(), [])
        self.expect(DONE, "presets", "load", "--yes")
        self.assertEqual(self.names(), ["12", "second", "b"])

    def test_download_and_upload_lose_nothing(self):
        # What a file says of CDL and saturation comes back: the values or the combination tell which is which.
        neutral = {"slope": [1.0] * 3, "offset": [0.0] * 3, "power": [1.0] * 3, "saturation": 0.5}
        saturation, plain_cdl = {"type": "saturation", "saturation": 0.5}, {"type": "cdl", **neutral}
        self.write("table.bin", os.urandom(999))
        for combination, components in [
                (1, [{"typeIndex": 2, **plain_cdl}, {"type": "1dlut", "dataFormat": 'f "\\\n', "file": "table.bin"}]),
                (1, [{**plain_cdl, "slope": [0.1, 5e-324, 1 / 3], "offset": [1.7976931348623157e308, -1e-300, 0.1 + 0.2]}]),
                *((4, [saturation, {**plain_cdl, **change}]) for change in (
                    {"slope": [1.0, 1.0, 1 / 3]}, {"offset": [0.0, 1e-300, 0.0]}, {"power": [1.0, 2.0, 1.0]})),
                (1, [{"type": "cdl", "file": "table.bin"}]),
                (3, [])]:
            with self.subTest(combination=combination, components=components):
                self.upload(NAME, components, combination)
                self.expect(DONE, "presets", "download", "down.json", "--name", NAME, "--yes")
                got = json.loads(self.read("down.json"))
                for component in got["components"]:
                    if "file" in component:
                        self.assertEqual(self.read(component["file"]), self.read("table.bin"))
                        component["file"] = "table.bin"
                self.assertEqual(got, {"name": NAME, "gradeComboIndex": combination, "components": components})
        # What earlier files say of a saturation besides is taken where it is neutral, or all 0.
        for old in ({}, {"slope": [0, 0, 0], "offset": [0, 0, 0], "power": [0, 0, 0]}):
            self.upload("q", [{"typeIndex": 1, **neutral, **saturation, **old}], 4)
        noticed = run("presets", "download", self.path("q.json"), "--name", "q")
        self.assertEqual(noticed.returncode, DONE)
        self.assertIn("note: preset 'q': component 1 is either a cdl or a saturation", noticed.stderr)
        self.check((USAGE, "presets download q.json --name q", "--yes"),
                   (REFUSED, "presets download new.json --index 9", "no preset 9"))
        self.assertFalse(os.path.exists(self.path("new.json")))

    def test_a_duplicate_is_the_same_or_refused(self):
        self.write("table.bin", os.urandom(999))
        cdl, saturation = {"type": "cdl", "slope": [1.0] * 3, "offset": [0.0] * 3, "power": [1.0] * 3, "saturation": 0.5}, {
            "type": "saturation", "saturation": 0.5}
        for name, combination, components in [
                ("one", 1, [{"typeIndex": 1, **cdl}, {"type": "3dlut", "typeIndex": 1, "dataFormat": "f", "file": "table.bin"}]),
                ("two", 4, [saturation, {**cdl, "slope": [1.0, 1.0, 0.5]}]), ("none", 2, [])]:
            self.upload(name, components, combination)
            self.expect(DONE, "presets", "duplicate", "--name", name, "--to-name", "copy", "--yes")
            self.expect(DONE, *"presets download copy.json --name copy --yes".split())
            got = json.loads(self.read("copy.json"))
            for component in got["components"]:
                if "file" in component:
                    self.assertEqual(self.read(component["file"]), self.read("table.bin"))
                    component["file"] = "table.bin"
            self.assertEqual(got, {"name": "copy", "gradeComboIndex": combination, "components": components})
        self.upload("unclear", [saturation], 4)
        self.check((REFUSED, "presets duplicate --name unclear --to-name b", "presets duplicate: component 1 of 'unclear' is either"),
                   (USAGE, "presets duplicate --index 1 --to-name copy", "Replace 'copy'? Give --yes"),
                   (USAGE, "presets duplicate --index 1 --to-name one", "another name"),
                   (USAGE, ["presets", "duplicate", "--name=one", "--to-name", "x" * 33], "33 bytes"),
                   (REFUSED, "presets duplicate --name absent --to-name b", "no preset 'absent'"))
        self.assertEqual(self.names(), ["one", "copy", "two", "none", "unclear"])

    def test_what_a_file_can_not_hold_is_refused(self):
        self.upload("\u00e9", [{"type": "cdl", "slope": [1, 1, 0.7531]}])
        self.expect(DONE, "presets", "save")
        name, = os.listdir(self.path("media"))
        saved = self.read("media/" + name)
        for good, bad, complaint in [(struct.pack("<d", 0.7531), struct.pack("<d", float("nan")), "a CDL value is not finite"),
                                     ("\u00e9".encode(), b"\xC3\xC3", "is not UTF-8")]:
            self.write("media/" + name, saved.replace(good, bad))
            self.check((DONE, "presets load --yes"), (REFUSED, "presets download new.json --index 1", complaint))
        self.assertEqual(os.listdir(self.folder).count("new.json"), 0)

    def test_a_download_that_does_not_fit_changes_nothing(self):
        self.write("small.bin", b"s")
        self.write("large.bin", os.urandom(1 << 18))
        self.upload("p", [{"type": "cdl", "file": "./small.bin"}, {"type": "3dlut", "dataFormat": "f", "file": "large.bin"}])
        self.write("down-1-cdl.bin", b"old")
        before = os.listdir(self.folder)
        limited = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 17, resource.RLIM_INFINITY))
        self.expect(REFUSED, *"presets download down.json --name p --yes".split(), preexec_fn=limited)
        self.assertEqual(os.listdir(self.folder), before)
        self.assertEqual(self.read("down-1-cdl.bin"), b"old")
        # Nor one that is interrupted while it waits for the reader of a pipe, its other files on the disk.
        os.mkfifo(self.path("pipe"))
        for number in (signal.SIGINT, signal.SIGTERM):
            process = subprocess.Popen([LUTC, "presets", "download", "pipe", "--name", "p", "--yes"], cwd=self.folder)
            while not any(".part" in name for name in os.listdir(self.folder)):
                self.assertIsNone(process.poll())
            process.send_signal(number)
            self.assertEqual(process.wait(timeout=60), 128 + number)
            self.assertEqual(sorted(os.listdir(self.folder)), sorted(before + ["pipe"]))
        # An upload ends too, the library as it was.
        self.start("--fault=sendPreset:2=before-silence")
        self.upload("p")
        process = subprocess.Popen([LUTC, "presets", "upload", self.path("upload.json")], cwd=self.folder,
                                   preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_DFL))
        self.simulator.wait_for("< sendPreset", 2)
        process.send_signal(signal.SIGHUP)
        self.assertEqual(process.wait(timeout=60), 128 + signal.SIGHUP)
        self.assertEqual(self.names(), ["p"])

    def test_a_full_library_goes_round(self):
        os.mkdir(self.path("made"))
        for name in ("made/one.bin", "made/two.bin"):
            self.write(name, os.urandom(TABLE_SIZE))
        self.make_backup("made", 100, [{"type": "1dlut", "dataFormat": "uint16", "file": "one.bin"},
                                       {"type": "cdl", "typeIndex": 1, "offset": [0.1, 0.2, 0.3]},
                                       {"type": "3dlut", "dataFormat": "uint16", "file": "two.bin"}])
        self.expect(DONE, "presets", "restore", "made")
        self.assertEqual(self.names(), [f"preset/{100 - i}" for i in range(100)])
        self.expect(DONE, "presets", "backup", "b1")
        self.assertEqual(self.read("b1/100-preset_1-3-3dlut.bin"), self.read("made/two.bin"))
        # Back, and then over a full library of others.
        self.check((DONE, "presets clear --yes"), (DONE, "presets restore b1"), (DONE, "presets backup b2/"))
        names = os.listdir(self.path("b1"))
        self.assertEqual(filecmp.cmpfiles(self.path("b1"), self.path("b2"), names, shallow=False), (names, [], []))
        self.assertEqual(sorted(os.listdir(self.path("b2"))), sorted(names))
        self.make_backup("few", 3)
        for i, name in enumerate(("x", "preset/50", "y")):
            self.write(f"few/{i + 1:03}-p.json", json.dumps({"name": name, "components": []}))
        self.check((USAGE, "presets restore few", "--yes"), (DONE, "presets restore few --yes"))
        self.assertEqual(self.names(), ["x", "preset/50", "y"])

    def test_a_broken_backup_changes_nothing(self):
        self.upload("kept")
        self.make_backup("good", 2, [{"type": "1dlut", "dataFormat": "f", "file": "t.bin"}])
        self.write("good/t.bin", b"table")
        preset, index = {"name": "n", "components": []}, {"formatVersion": 1, "presets": ["001-p.json"]}
        combination = {"gradeComboIndex": 1, "gradeCombo": ["another"]}
        for file, content, code, complaint in [
                ("t.bin", None, REFUSED, "t.bin"),
                ("002-p.json", None, REFUSED, "002-p.json"),
                ("library.json", None, REFUSED, "library.json"),
                ("002-p.json", "{", USAGE, "no JSON"),
                ("002-p.json", {"components": []}, USAGE, "name: is missing"),
                ("002-p.json", {**preset, "name": "preset/2"}, USAGE, "another preset's name"),
                ("002-p.json", {**preset, "name": "n" * 33}, USAGE, "33 bytes"),
                *(("002-p.json", {**preset, "components": [{"type": "cdl", "file": name}]}, USAGE, "of the same folder")
                  for name in ("../x", "..", "sub/../t.bin", "/t.bin")),
                ("002-p.json", {**preset, "components": [{"type": "tpg"}]}, USAGE, "can't hold a test pattern"),
                ("002-p.json", {**preset, "gradeComboIndex": 5}, USAGE, "no grade combination 5"),
                ("t.bin", "t" * ((2 << 20) + 1), USAGE, "more than 2097152"),
                ("library.json", '{"formatVersion": 1 "presets": []}', USAGE, "line 1, column"),
                ("library.json", {**index, "formatVersion": 2}, USAGE, "formatVersion: must be 1"),
                ("library.json", {**index, "dates": []}, USAGE, "dates: is not a known field here"),
                ("library.json", {"formatVersion": 1, "presets": "001-p.json"}, USAGE, "presets: must be a list"),
                ("library.json", {"formatVersion": 1, "presets": ["../x.json"]}, USAGE, "same folder"),
                ("library.json", {**index, "gradeCombos": [{}]}, USAGE, "gradeCombos 1: gradeComboIndex: is missing"),
                ("library.json", {**index, "gradeCombos": [combination]}, USAGE, "grade combination 1 is not the same"),
                *((file, os.symlink, USAGE, file + ": is a symbolic link") for file in ("t.bin", "002-p.json", "library.json")),
                *((file, os.mkfifo, USAGE, file + ": is no regular file") for file in ("t.bin", "002-p.json", "library.json")),
                *((file, "[" * (1 << 20), USAGE, "nested more than 100 deep") for file in ("002-p.json", "library.json")),
                ("002-p.json", "[" + "{}," * 30000, USAGE, "more than 30000 values"),
                ("library.json", "{" + ",".join('"%d":0' % i for i in range(1001)), USAGE, "more than 1000 members")]:
            shutil.copytree(self.path("good"), self.path("broken"))
            os.remove(self.path("broken", file))
            if callable(content):
                content(*[self.path("good", file)] * (content is os.symlink), self.path("broken", file))
            elif content:
                self.write("broken/" + file, content if isinstance(content, str) else json.dumps(content))
            self.check((code, "presets restore broken --yes", complaint))
            shutil.rmtree(self.path("broken"))
        os.symlink("good", self.path("link"))  # the folder itself may be one
        self.check((USAGE, "presets restore link", "Replace the library's 1 presets"))
        self.make_backup("many", 101)
        self.check((USAGE, "presets restore many --yes", "room for 100"))
        self.assertEqual(self.names(), ["kept"])
        self.assertEqual(self.simulator.count("deletePreset"), 0)

    def test_backup_writes_whole_or_not_at_all(self):
        # One bad answer is asked for again; three in a row are a failure, and so is one refusal.
        faults = ("2=truncate", "6=truncate", "7=truncate", "8=truncate", "9=refuse")
        self.start(*(part for fault in faults for part in ("--fault", "getPreset:" + fault)))
        self.make_backup("made", 3)
        os.mkdir(self.path("b.part"))
        self.write("b.part/009-left.json", "by one that was killed")
        self.check((DONE, "presets restore made"), (DONE, "presets backup b"))
        times = lambda: {name: os.stat(self.path("b", name)).st_mtime_ns for name in os.listdir(self.path("b"))}
        before = times()
        self.assertNotIn("009-left.json", before)
        self.check((USAGE, "presets backup b", "--yes"), (REFUSED, "presets backup b --yes", "the answer broke off; 1 of 3 presets had been read"),
                   (REFUSED, "presets backup b --yes", "'preset/3': refused (7): refused on demand; 0 of 3"))
        self.assertEqual(before, times())
        self.check((DONE, "presets delete --index 1 --yes"), (DONE, "presets backup b --yes"))
        self.assertEqual(sorted(times()), ["001-preset_2.json", "002-preset_1.json", "library.json"])
        # Without an exchange of names, and where that was ended between its two renames.
        environment = on_another_host()
        before = os.stat(self.path("b")).st_ino
        self.expect(DONE, *"presets backup b --yes".split(), env=environment)
        self.assertNotEqual(os.stat(self.path("b")).st_ino, before)
        shutil.copytree(self.path("b"), self.path("b.old"))  # or ended behind them
        result = self.expect(REFUSED, *"presets backup b --yes".split(), env=environment)
        self.assertIn("b.old: is in the way; remove it or give it another name", result.stderr)
        self.check((DONE, "presets backup b --yes"))  # an exchange of names needs no other
        self.assertEqual(len(os.listdir(self.path("b.old"))), 3)
        shutil.rmtree(self.path("b.old"))
        for command in ("restore", "backup"):
            os.rename(self.path("b"), self.path("b.old"))
            if command == "restore":  # without the new backup it is somebody's own folder
                self.check((REFUSED, "presets restore b", "b/library.json: can't be opened"))
            shutil.copytree(self.path("b.old"), self.path("b.part"), dirs_exist_ok=True)
            self.expect(DONE, "presets", command, "b", "--yes")
            self.assertEqual(self.names(), ["preset/2", "preset/1"])
            self.assertFalse(os.path.exists(self.path("b.old")))
        self.write("b/notes.txt", "mine")
        self.check((REFUSED, "presets backup b --yes", "notes.txt"))
        self.assertEqual([name for name in os.listdir(self.folder) if ".part" in name], [])

    def test_restore_goes_on_after_a_failure_and_an_interrupt(self):
        self.start("--fault", "sendPreset:2=refuse", "--fault", "sendPreset:4=delay,500")
        self.make_backup("made", 3, [{"type": "1dlut", "dataFormat": "f", "file": "t.bin"}])
        self.write("made/t.bin", b"0 0 0\n")  # what a backup holds is sent, also where it reads as text
        self.check((REFUSED, "presets restore made", "'preset/2': refused (7): refused on demand; 1 of 3 presets are restored"))
        process = subprocess.Popen([LUTC, "presets", "restore", self.path("made"), "--yes"], stderr=subprocess.PIPE)
        self.simulator.wait_for("< sendPreset", 4)
        process.send_signal(signal.SIGINT)
        said = process.communicate(timeout=60)[1].decode()
        self.assertEqual(process.returncode, INTERRUPTED, said)
        self.assertIn("2 of 3 presets are restored", said)
        self.expect(DONE, *"presets restore made --yes".split())
        self.assertEqual(self.names(), ["preset/3", "preset/2", "preset/1"])


if __name__ == "__main__":
    unittest.main()
