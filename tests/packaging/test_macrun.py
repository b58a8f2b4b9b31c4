"""Runs scripts/check_mac.sh, with stand-ins for Apple's commands and this machine's own program.

The steps, their order and what makes them fail are proved here. What a Mac would answer is not:
the stand-ins answer what the test tells them to.
"""

import os
import shutil
import stat
import unittest

import builds
import test_diskimage

# Beyond those of the disk image. "attach" gives the image a program, this machine's own; pressing
# the button writes what Quillmere writes then, because nobody can press it without a display.
STAND_IN = test_diskimage.STAND_IN.rsplit("esac", 1)[0] + r"""
    hdiutil:attach*)
        contents=$5/Quillmere.app/Contents
        mkdir -p "$contents/MacOS"
        ln -s "$QUILLMERE_PROGRAM" "$contents/MacOS/Quillmere" ;;
    ditto:*) cp -R "$1" "$2" ;;
    screencapture:*) echo picture >"$2" ;;
    sw_vers:*) echo "${1#-}" ;;
    defaults:*) echo "${KEYBOARD:-0}" ;;
    xattr:-p*) [ -n "$QUARANTINE" ] && echo "$QUARANTINE" ;;
    xxd:*) cat ;;
    osascript:*)
        script=$(cat)
        case $script in
            *AXPress*)
                [ "$3" = "$BUTTON" ] || exit 1
                folder=$PWD/build/mac/home
                echo item >"$folder/Downloads/Basaltine-12.0-arm64.pkg"
                echo "[INFO] Install - Launching: $folder/Downloads/Basaltine-12.0-arm64.pkg" \
                    >>"$folder/Library/Quillmere/quillmere.log" ;;
            *"key code 48"*) echo "AXTable AXTextField" ;;
            *subrole*) printf '%s' "$WINDOWS" ;;
        esac ;;
esac
"""
COMMANDS = (*test_diskimage.COMMANDS, "ditto", "screencapture", "sw_vers", "defaults", "xattr",
            "xxd", "osascript")
ASSUMED = {
    "BUTTON": "Download Basaltine",
    "QUARANTINE": "0081;0;Quillmere;",
    "WINDOWS": "AXDialog | Ressources internet inaccessibles",
}
QUESTIONS = ("plutil tells of its failures on standard output, after the path",
             "what Quillmere unpacked is quarantined", "unzip passes the quarantine on",
             "a file keeps its name's composition",
             "Tab passes over buttons without keyboard navigation",
             "Quillmere survives the replacement of its bundle",
             "a message is a box of the system's")


class MacRunTest(unittest.TestCase):
    def setUp(self):
        self.folder = builds.fresh_folder("project")
        for name in ("sample", "scripts", "packaging"):
            shutil.copytree(builds.SOURCE / name, self.folder / name,
                            ignore=shutil.ignore_patterns("__pycache__"))
        for name in ("CMakeLists.txt", "LICENSE"):
            shutil.copy(builds.SOURCE / name, self.folder / name)
        self.tools = builds.fresh_folder("tools")
        for name in COMMANDS:
            self.stand_in(name, STAND_IN)
        (self.tools / "qt" / "bin").mkdir(parents=True)
        shutil.copy(self.tools / "cmake", self.tools / "qt" / "bin" / "macdeployqt")
        plutil = (builds.SOURCE / "sample/plutil/plutil").read_text(encoding="utf-8")
        self.stand_in("plutil", plutil.replace('if len(sys.argv)', 'if sys.argv[1] == "-lint":\n'
                                               '    sys.exit(0)\nif len(sys.argv)', 1))

    def stand_in(self, name, text):
        tool = self.tools / name
        tool.write_text(text, encoding="utf-8")
        tool.chmod(tool.stat().st_mode | stat.S_IXUSR)

    def check(self, **environment):
        """The script's exit status, what it said, and the commands called."""
        calls = self.tools / "calls.txt"
        calls.write_text("", encoding="utf-8")
        clean = {name: value for name, value in os.environ.items()
                 if not name.startswith("QUILLMERE_") or name == "QUILLMERE_PROGRAM"}
        result = builds.run(
            "bash", self.folder / "scripts/check_mac.sh",
            env={**clean, "PATH": f"{self.tools}:{os.environ['PATH']}", "CALLS": str(calls),
                 "FAILS": "", "DEPLOYED": " ".join(test_diskimage.DEPLOYED),
                 "QT_ROOT_DIR": str(self.tools / "qt"), "SOURCE_DATE_EPOCH": "1770249600",
                 "QT_QPA_PLATFORM": "offscreen", **ASSUMED, **environment})
        return result.returncode, result.stdout, calls.read_text(encoding="utf-8").splitlines()

    def answers(self):
        """The table's answers by their questions."""
        text = (self.folder / "build/mac/answers.md").read_text(encoding="utf-8")
        rows = [line.strip("| ").split(" | ") for line in text.splitlines() if " | " in line][1:]
        return {row[0]: row[1] for row in rows}

    def test_makes_the_image_runs_what_is_in_it_and_answers(self):
        status, output, calls = self.check()
        self.assertEqual(status, 0, output)
        names = [" ".join(call.split()[:2]) for call in calls]
        order = [names.index(name) for name in
                 ("hdiutil create", "hdiutil attach", "screencapture -x", "osascript -")]
        self.assertEqual(order, sorted(order))
        self.assertEqual(names[-1], "hdiutil detach")
        # Versions by plutil, of several candidates, in the long form, and of no bundle.
        for row in (r"Hulvarne +Hulvarne +8\.0\.2$", r"Synth +Synth 2 +2\.4$",
                    r"Wistambule +Wistambule +3\.3$", r"Corvanelle +not installed"):
            self.assertRegex(output, "(?m)^" + row)
        self.assertIn("Install - Launching: ", output)
        self.assertEqual(self.answers(), {question: "as assumed" for question in QUESTIONS})
        for name in ("window.png", "box.png", "quillmere.log", "answers.md"):
            self.assertTrue((self.folder / "build/mac" / name).is_file(), name)
        log = (self.folder / "build/mac/quillmere.log").read_text(encoding="utf-8")
        self.assertIn("Install - Launching: ", log)

    def test_an_answer_that_differs_is_told_and_fails_nothing(self):
        self.stand_in("plutil", "#!/bin/sh\n[ $# = 2 ] || case $4 in\n"
                                "*Hulvarne*) echo 8.0.2 ;; *) echo gone >&2; exit 1 ;; esac\n")
        self.stand_in("screencapture", "#!/bin/sh\nexit 1\n")
        status, output, _ = self.check(QUARANTINE="", WINDOWS="AXStandardWindow", KEYBOARD="2")
        self.assertEqual(status, 0, output)
        self.assertEqual(set(self.answers().values()), {"as assumed", "**otherwise**"})
        kept = {question for question, answer in self.answers().items() if answer == "as assumed"}
        self.assertEqual(kept, {"a file keeps its name's composition",
                                "Quillmere survives the replacement of its bundle"})

    def test_what_cannot_be_asked_has_no_answer(self):
        self.stand_in("ditto", "#!/bin/sh\nexit 1\n")
        status, output, _ = self.check()
        self.assertEqual(status, 0, output)
        self.assertEqual([question for question, answer in self.answers().items()
                          if answer == "no answer"],
                         ["Quillmere survives the replacement of its bundle"])

    def test_a_version_that_plutil_did_not_read_fails(self):
        self.stand_in("plutil", "#!/bin/sh\n[ $# = 2 ]\n")
        status, output, calls = self.check()
        self.assertEqual(status, 1)
        self.assertRegex(output, r"Hulvarne +Hulvarne +WRONG: 8\.0\.2 is due")
        self.assertTrue(calls[-1].startswith("hdiutil detach"), calls[-1])

    def test_a_button_that_cannot_be_pressed_fails(self):
        status, output, calls = self.check(BUTTON="Download nothing")
        self.assertEqual(status, 1)
        self.assertIn('the button "Download Basaltine" could not be pressed', output)
        self.assertTrue(calls[-1].startswith("hdiutil detach"), calls[-1])

    def test_an_image_that_is_not_made_fails(self):
        status, _, calls = self.check(FAILS="lipo")
        self.assertEqual(status, 1)
        self.assertFalse(any(call.startswith("hdiutil") for call in calls))


if __name__ == "__main__":
    builds.main()
