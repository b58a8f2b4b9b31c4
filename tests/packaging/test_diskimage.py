"""Runs packaging/macos/make-dmg.sh: dry, and with stand-ins for CMake's and Apple's commands.

Proved is what it calls, in which order and where it stops; what Apple's commands do is not.
"""

import os
import shlex
import shutil
import unittest
from pathlib import Path

import builds

IDENTITY = "Developer ID Application: Ada Example Ltd (AB12CD34EF)"
APP = "build/dmg/image/Quillmere.app"
IMAGE = "build/dmg/Quillmere-26.3.0.dmg"
COCOA = "PlugIns/platforms/libqcocoa.dylib"
TLS = "PlugIns/tls/libqsecuretransportbackend.dylib"
GIF = "PlugIns/imageformats/libqgif.dylib"
DEPLOYED = [COCOA, TLS, GIF, "Frameworks/QtCore.framework/Versions/A/QtCore",
            "Frameworks/QtWidgets.framework/Versions/A/QtWidgets",
            "MacOS/Quillmere"]
COPIED = ("packaging/macos/make-dmg.sh", "scripts/common.sh", "CMakeLists.txt", "LICENSE",
          "packaging/licences/Qt.txt", "packaging/licences/LGPL-3.txt",
          "packaging/licences/GPL-3.txt")
OWN = ("-DQUILLMERE_BASE_URL=https://apps.example.net/mac/",
       "-DQUILLMERE_BUNDLE_IDENTIFIER=net.example.apps")
COMMIT_TIME = "1770249600"

# Notes its call; the calls that make files make them. FAILS names a command that fails, NOTARY is
# the notary's answer, and hdiutil finds the volume busy BUSY times.
STAND_IN = r"""#!/bin/bash
name=${0##*/}
printf '%s' "$name" >>"$CALLS"
printf ' %q' "$@" >>"$CALLS"
printf '\n' >>"$CALLS"
[ "$name" != "$FAILS" ] || exit 1
case $name:$* in
    uname:*) echo Darwin ;;
    cmake:--preset*)
        echo "$SOURCE_DATE_EPOCH" >"$CALLS.date"
        # As CMake: the reserved values, then those of the command line, the later one counts.
        url=https://catalogue.quillmere.example.org/ identifier=org.example.quillmere
        for word; do
            case $word in
                -DQUILLMERE_BASE_URL=*) url=${word#*=} ;;
                -DQUILLMERE_BUNDLE_IDENTIFIER=*) identifier=${word#*=} ;;
            esac
        done
        echo "url=$url identifier=$identifier" >"$CALLS.values" ;;
    cmake:--install*)
        . "$CALLS.values"
        for file in $DEPLOYED; do
            mkdir -p "$4/Quillmere.app/Contents/${file%/*}"
            echo >"$4/Quillmere.app/Contents/$file"
        done
        printf '\0<baseURL>%s</baseURL>\0' "$url" >"$4/Quillmere.app/Contents/MacOS/Quillmere"
        printf '<key>CFBundleIdentifier</key>\n\t<string>%s</string>\n' "$identifier" \
            >"$4/Quillmere.app/Contents/Info.plist" ;;
    hdiutil:create*)
        if [ "$(grep -c '^hdiutil create' "$CALLS")" -le "${BUSY:-0}" ]; then
            echo "hdiutil: create failed - Resource busy" >&2
            exit 1
        fi
        echo image >"${@: -1}" ;;
    "xcrun:notarytool submit"*)
        printf '{"message":"Processing complete","id":"2efe2717-52ef","status":"%s"}\n' \
            "${NOTARY-Accepted}" ;;
    "xcrun:notarytool log"*) echo "The signature does not include a secure timestamp." ;;
    shasum:*) echo "0123  $3" ;;
esac
"""
COMMANDS = ("uname", "cmake", "ctest", "lipo", "plutil", "codesign", "hdiutil", "xcrun", "spctl",
            "shasum", "sleep")


class DiskImageTest(unittest.TestCase):
    def setUp(self):
        self.folder = builds.fresh_folder("project")
        for name in COPIED:
            (self.folder / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(builds.SOURCE / name, self.folder / name)
        # A clone of its own, else git would find the one that this folder lies in.
        for command in (["init", "-q"], ["add", "-A"], ["commit", "-q", "-m", "Copy"]):
            builds.succeed("git", "-c", "user.name=Test", "-c", "user.email=test@example.org",
                           *command, cwd=self.folder, env={
                               **os.environ, "GIT_COMMITTER_DATE": f"{COMMIT_TIME} +0000"})
        self.tools = builds.fresh_folder("tools")
        for name in COMMANDS:
            (self.tools / name).write_text(STAND_IN, encoding="utf-8")
            (self.tools / name).chmod(0o755)
        (self.tools / "qt" / "bin").mkdir(parents=True)
        shutil.copy(self.tools / "cmake", self.tools / "qt" / "bin" / "macdeployqt")
        self.calls = self.tools / "calls.txt"

    def make(self, *arguments, fails="", lacks="", on_mac=True, **environment):
        """The script's exit status, its output and the commands called, but for uname."""
        self.calls.write_text("", encoding="utf-8")
        deployed = " ".join(file for file in DEPLOYED if file != lacks)
        path = f"{self.tools}:{os.environ['PATH']}" if on_mac else os.environ["PATH"]
        clean = {name: value for name, value in os.environ.items()
                 if not name.startswith("QUILLMERE_")
                 and name not in ("QT_ROOT_DIR", "SOURCE_DATE_EPOCH")}
        result = builds.run(
            "bash", self.folder / "packaging/macos/make-dmg.sh", *arguments,
            env={**clean, "PATH": path, "CALLS": str(self.calls), "FAILS": fails,
                 "DEPLOYED": deployed, "QT_ROOT_DIR": str(self.tools / "qt"), **environment})
        calls = [shlex.split(line) for line in self.calls.read_text(encoding="utf-8").splitlines()
                 if not line.startswith("uname")]
        return result.returncode, result.stdout, calls

    def signed(self, calls):
        """What was signed, in that order; each must have been signed by the identity."""
        signings = [call for call in calls if call[0] == "codesign" and "--sign" in call]
        return [(call[call.index("--sign") + 1], "runtime" in call, call[-1]) for call in signings]

    def test_makes_an_ad_hoc_signed_image_without_secrets(self):
        status, output, calls = self.make("-DQUILLMERE_BASE_URL=https://apps.example.net/")
        self.assertEqual(status, 0, output)
        self.assertEqual(
            [" ".join(call[:2]) for call in calls if call[0] not in ("codesign", "lipo", "plutil")],
            ["cmake --preset", "cmake --build", "ctest --test-dir", "cmake --install",
             "hdiutil create", "hdiutil verify", "shasum -a"])
        configure = calls[0]
        self.assertNotIn("DEPLOYMENT_TARGET", " ".join(configure))  # the Qt in use decides
        for option in ("-DCMAKE_OSX_ARCHITECTURES=arm64;x86_64", "-DQUILLMERE_BUILD_TESTS=ON",
                       f"-DCMAKE_PREFIX_PATH={self.tools / 'qt'}",
                       "-DQUILLMERE_BASE_URL=https://apps.example.net/"):
            self.assertIn(option, configure)
        signed = self.signed(calls)
        self.assertEqual({(identity, runtime) for identity, runtime, _ in signed}, {("-", False)})
        self.assertEqual(signed[-1][2], APP)
        self.assertIn("Not notarized", output)

    def test_signs_from_the_inside_to_the_outside(self):
        _, _, calls = self.make(*OWN, QUILLMERE_SIGN_IDENTITY=IDENTITY)
        paths = [path for _, _, path in self.signed(calls)]
        contents = f"{APP}/Contents/"
        self.assertEqual(sorted(paths[:3]), sorted(contents + name for name in (COCOA, TLS, GIF)))
        self.assertEqual(sorted(paths[3:5]),
                         [contents + "Frameworks/QtCore.framework",
                          contents + "Frameworks/QtWidgets.framework"])
        self.assertEqual(paths[5:], [APP, IMAGE])
        verify = ["codesign", "--verify", "--deep", "--strict", "--verbose=2", APP]
        self.assertLess(calls.index(verify), [call[:2] for call in calls].index(
            ["hdiutil", "create"]))

    def test_signs_for_distribution_and_notarizes_with_secrets(self):
        status, output, calls = self.make(*OWN, QUILLMERE_SIGN_IDENTITY=IDENTITY,
                                          QUILLMERE_NOTARY_PROFILE="release")
        self.assertEqual(status, 0, output)
        self.assertEqual(
            {(identity, runtime) for identity, runtime, path in self.signed(calls)
             if path != IMAGE}, {(IDENTITY, True)})
        self.assertEqual(calls[-5:], [
            ["xcrun", "notarytool", "submit", IMAGE, "--keychain-profile", "release", "--wait",
             "--output-format", "json"],
            ["xcrun", "stapler", "staple", IMAGE],
            ["xcrun", "stapler", "validate", IMAGE],
            ["spctl", "--assess", "--type", "open", "--context", "context:primary-signature",
             "--verbose=2", IMAGE],
            ["shasum", "-a", "256", "Quillmere-26.3.0.dmg"]])

    def test_the_image_holds_the_application_and_the_way_to_the_applications_folder(self):
        self.make()
        held = {path.name for path in (self.folder / "build/dmg/image").iterdir()}
        self.assertEqual(held, {"Quillmere.app", "Applications", "Licences"})
        self.assertEqual(os.readlink(self.folder / "build/dmg/image/Applications"),
                         "/Applications")

    def test_the_image_holds_the_licences_of_quillmere_and_qt(self):
        self.make()
        folder = self.folder / "build/dmg/image/Licences"
        self.assertEqual({path.name for path in folder.iterdir()},
                         {"LICENSE", "Qt.txt", "LGPL-3.txt", "GPL-3.txt"})
        for name, words in (("LICENSE", "MIT License"), ("Qt.txt", "Lesser General Public"),
                            ("LGPL-3.txt", "GNU LESSER GENERAL PUBLIC LICENSE"),
                            ("GPL-3.txt", "GNU GENERAL PUBLIC LICENSE")):
            self.assertIn(words, (folder / name).read_text(encoding="utf-8"))

    def test_the_build_has_its_commits_time(self):
        for given, expected in (({}, COMMIT_TIME), ({"SOURCE_DATE_EPOCH": "1000"}, "1000")):
            with self.subTest(given):
                self.make(**given)
                noted = self.calls.with_name("calls.txt.date").read_text(encoding="utf-8")
                self.assertEqual(noted.strip(), expected)

    def test_values_come_from_the_environment_and_the_command_line(self):
        _, _, calls = self.make("-DQUILLMERE_MAIL=it@example.net", QUILLMERE_MAIL="x@example.net",
                                QUILLMERE_AUTHOR="Ada Example", QUILLMERE_WEBSITE="")
        values = [word for word in calls[0] if "QUILLMERE_" in word]
        self.assertEqual(values, ["-DQUILLMERE_BUILD_CATALOGUE=OFF", "-DQUILLMERE_BUILD_TESTS=ON",
                                  "-DQUILLMERE_AUTHOR=Ada Example",
                                  "-DQUILLMERE_MAIL=x@example.net",
                                  "-DQUILLMERE_MAIL=it@example.net"])

    def test_builds_in_one_place_and_signs_in_another(self):
        status, output, calls = self.make("--build-only", *OWN)
        self.assertEqual(status, 0, output)
        self.assertEqual([call[0] for call in calls],
                         ["cmake", "cmake", "ctest", "cmake", "lipo", "plutil"])
        status, output, calls = self.make("--image-only", QT_ROOT_DIR="", FAILS="cmake",
                                          QUILLMERE_SIGN_IDENTITY=IDENTITY)
        self.assertEqual(status, 0, output)
        self.assertNotIn("ctest", [call[0] for call in calls])
        self.assertEqual(self.signed(calls)[-1][2], IMAGE)

    def test_an_image_needs_an_application(self):
        status, output, calls = self.make("--image-only")
        self.assertEqual((status, calls), (1, []))
        self.assertIn(f"there is no {APP}; --build-only makes it", output)

    def test_reserved_values_are_not_signed_for_distribution(self):
        url, identifier = OWN
        for given, name in (((), "BASE_URL"), ((identifier,), "BASE_URL"),
                            ((url,), "BUNDLE_IDENTIFIER")):
            with self.subTest(given):
                status, output, calls = self.make(*given, QUILLMERE_SIGN_IDENTITY=IDENTITY)
                self.assertEqual((status, calls), (1, []))
                self.assertIn(f"QUILLMERE_{name} has its reserved value", output)
        # What was built elsewhere, and what names the reserved value itself, is looked into.
        for given, name in (((), "BASE_URL"), ((url,), "BUNDLE_IDENTIFIER"),
                            ((identifier,), "BASE_URL")):
            with self.subTest(given, built="elsewhere"):
                self.make("--build-only", *given)
                status, output, calls = self.make("--image-only", QUILLMERE_SIGN_IDENTITY=IDENTITY)
                self.assertEqual((status, calls), (1, []))
                self.assertIn(f"QUILLMERE_{name} has its reserved value", output)
        self.make("--build-only")
        self.assertEqual(self.make("--image-only")[0], 0)

    def test_the_program_tells_its_base_url_as_plain_text(self):
        # Else a reserved one would not be found in what was built.
        program = Path(os.environ["QUILLMERE_PROGRAM"]).read_bytes()
        self.assertRegex(program, rb"<baseURL>https://[^<]+/</baseURL>")
        form = (builds.SOURCE / "packaging/macos/Info.plist.in").read_text(encoding="utf-8")
        self.assertIn("<string>${MACOSX_BUNDLE_GUI_IDENTIFIER}</string>", form)

    def test_a_busy_volume_is_tried_again(self):
        for busy, status_due, tries in ((1, 0, 2), (4, 0, 5), (5, 1, 5)):
            with self.subTest(busy=busy):
                status, output, calls = self.make(BUSY=str(busy))
                self.assertEqual(status, status_due, output)
                self.assertEqual(
                    len([call for call in calls if call[:2] == ["hdiutil", "create"]]), tries)
                self.assertEqual("found the volume busy 5 times" in output, status_due == 1)

    def test_what_the_notary_refuses_is_no_release(self):
        for answer in ("Invalid", "Rejected", "In Progress", ""):
            with self.subTest(answer):
                status, output, calls = self.make(*OWN, QUILLMERE_SIGN_IDENTITY=IDENTITY,
                                                  QUILLMERE_NOTARY_PROFILE="release",
                                                  NOTARY=answer)
                self.assertEqual(status, 1)
                self.assertEqual(calls[-1], ["xcrun", "notarytool", "log", "2efe2717-52ef",
                                             "--keychain-profile", "release"])
                self.assertIn("does not include a secure timestamp", output)
                self.assertIn(f'the notary answered "{answer}"; its log is above', output)

    def test_the_checksum_names_the_image_without_a_path(self):
        self.make()
        text = (self.folder / f"{IMAGE}.sha256").read_text(encoding="utf-8")
        self.assertEqual(text, "0123  Quillmere-26.3.0.dmg\n")

    def test_stops_where_a_plug_in_is_missing(self):
        for plug_in in (COCOA, TLS, GIF):
            with self.subTest(plug_in):
                status, _, calls = self.make(lacks=plug_in)
                self.assertNotEqual(status, 0)
                self.assertEqual(calls[-1][:2], ["cmake", "--install"])

    def test_stops_where_a_step_fails(self):
        for command in ("cmake", "ctest", "lipo", "plutil", "codesign", "hdiutil", "xcrun",
                        "spctl", "shasum"):
            with self.subTest(command):
                status, _, calls = self.make(*OWN, fails=command,
                                             QUILLMERE_SIGN_IDENTITY=IDENTITY,
                                             QUILLMERE_NOTARY_PROFILE="release")
                self.assertNotEqual(status, 0)
                self.assertEqual([call[0] for call in calls].count(command), 1)
                self.assertEqual(calls[-1][0], command)

    def test_does_nothing_without_a_mac_or_its_qt(self):
        status, output, calls = self.make(on_mac=False)
        self.assertEqual((status, calls), (1, []))
        self.assertIn("this needs a Mac", output)
        status, output, calls = self.make(QT_ROOT_DIR="/nowhere")
        self.assertEqual((status, calls), (1, []))
        self.assertIn("QT_ROOT_DIR must name", output)

    def test_does_nothing_with_half_of_the_secrets_or_an_unknown_argument(self):
        for arguments, environment in ((("--quick",), {}), (("-D",), {}),
                                       ((), {"QUILLMERE_NOTARY_PROFILE": "release"})):
            with self.subTest(arguments=arguments, environment=environment):
                status, _, calls = self.make(*arguments, **environment)
                self.assertEqual((status, calls), (1, []))

    def test_a_dry_run_prints_every_step_and_does_none(self):
        secrets = {"QUILLMERE_SIGN_IDENTITY": IDENTITY, "QUILLMERE_NOTARY_PROFILE": "release"}
        _, _, calls = self.make(*OWN, **secrets)
        made = sorted(self.folder.rglob("*"))
        status, output, dry_calls = self.make("--dry-run", *OWN, on_mac=False,
                                              **secrets)
        self.assertEqual((status, dry_calls), (0, []), output)
        self.assertEqual(sorted(self.folder.rglob("*")), made)
        printed = [shlex.split(line[2:]) for line in output.splitlines() if line.startswith("+ ")]
        for call in calls:
            with self.subTest(call):
                if call[0] == "shasum":  # called by the shell that is printed
                    self.assertTrue(any("shasum -a 256" in " ".join(step) for step in printed))
                elif call[0] == "codesign" and "/Contents/" in call[-1]:
                    self.assertIn(call[:-1] + ["{}"], printed)
                else:
                    self.assertIn(call, printed)


class IdentityTest(unittest.TestCase):
    """take-up-identity.sh, which the release's workflow runs with the secrets."""

    def setUp(self):
        self.folder = builds.fresh_folder("identity")
        # Keeps what is imported, because the file is to be gone afterwards.
        for name, body in (("uuidgen", "echo 0123-4567"),
                           ("security", 'echo "$*" >>"$CALLS"\n[ "$1" != "$FAILS" ] || exit 1\n'
                                        '[ "$1" != import ] || cp "$2" "$CALLS.p12"')):
            tool = self.folder / name
            tool.write_text(f"#!/bin/sh\n{body}\n", encoding="utf-8")
            tool.chmod(0o755)

    def take_up(self, fails=""):
        return builds.run(
            "bash", builds.SOURCE / "packaging/macos/take-up-identity.sh",
            env={**os.environ, "PATH": f"{self.folder}:{os.environ['PATH']}", "FAILS": fails,
                 "CALLS": str(self.folder / "calls"), "RUNNER_TEMP": str(self.folder),
                 "GITHUB_ENV": str(self.folder / "env"), "CERTIFICATE": "Y2VydA==",
                 "CERTIFICATE_PASSWORD": "secret", "SIGN_IDENTITY": IDENTITY})

    def test_takes_up_the_certificate_and_leaves_no_file(self):
        result = self.take_up()
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertEqual((self.folder / "calls.p12").read_text(encoding="utf-8"), "cert")
        self.assertEqual((self.folder / "env").read_text(encoding="utf-8"),
                         f"QUILLMERE_SIGN_IDENTITY={IDENTITY}\n")
        self.assertFalse((self.folder / "certificate.p12").exists())
        self.assertNotIn("secret", result.stdout)
        calls = (self.folder / "calls").read_text(encoding="utf-8").splitlines()
        self.assertEqual([call.split()[0] for call in calls],
                         ["create-keychain", "set-keychain-settings", "unlock-keychain", "import",
                          "set-key-partition-list", "list-keychains"])

    def test_a_certificate_that_is_not_taken_names_no_identity(self):
        self.assertNotEqual(self.take_up(fails="import").returncode, 0)
        self.assertFalse((self.folder / "env").exists())
        self.assertFalse((self.folder / "certificate.p12").exists())


if __name__ == "__main__":
    builds.main()
