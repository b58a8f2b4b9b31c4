"""Builds and installs Quillmere as a Mac application, with this machine's clang in a Mac's part.

What CMake and Qt's CMake files decide is proved here: the bundle's tree, its Info.plist, its icon
and the call of Qt's deploy tool. What Apple's tools do is not.
"""

import plistlib
import re
import stat
import struct
import unittest

import builds

DARWIN = builds.SOURCE / "tests" / "packaging" / "darwin"
PROGRAM = "Quillmere.app/Contents/MacOS/Quillmere"
PLIST = "Quillmere.app/Contents/Info.plist"
ICON = "Quillmere.app/Contents/Resources/AppIcon.icns"

CHOSEN_FOLDER = ("Quillmere saves downloaded installers here when you have chosen this download "
                 "folder.")
EXPECTED_PLIST = {
    "CFBundleAllowMixedLocalizations": True,
    "CFBundleDevelopmentRegion": "en",
    "CFBundleDisplayName": "Quillmere",
    "CFBundleExecutable": "Quillmere",
    "CFBundleIconFile": "AppIcon",
    "CFBundleIdentifier": "org.example.quillmere",
    "CFBundleInfoDictionaryVersion": "6.0",
    "CFBundleName": "Quillmere",
    "CFBundlePackageType": "APPL",
    "CFBundleShortVersionString": "26.3.0",
    "CFBundleVersion": "26.3.0",
    "LSApplicationCategoryType": "public.app-category.utilities",
    "LSFileQuarantineEnabled": True,
    "LSMinimumSystemVersion": None,  # by the Qt in use, see setUpClass
    "NSDesktopFolderUsageDescription": CHOSEN_FOLDER,
    "NSDocumentsFolderUsageDescription": CHOSEN_FOLDER,
    "NSDownloadsFolderUsageDescription":
        "Quillmere saves the installers that you download here.",
    "NSHighResolutionCapable": True,
    "NSHumanReadableCopyright": "Copyright © 2026 The Quillmere Project",
    "NSLocalNetworkUsageDescription":
        "Quillmere reads your organisation's catalogue and its installers, whose server may be in "
        "your network.",
    "NSNetworkVolumesUsageDescription": CHOSEN_FOLDER,
    "NSPrincipalClass": "NSApplication",
    "NSRemovableVolumesUsageDescription": CHOSEN_FOLDER,
    "NSSupportsAutomaticGraphicsSwitching": True,
}

# An icon file's entries: a picture of so many pixels; "@2x" is for two pixels to the point.
EXPECTED_ICONS = {
    b"ic07": 128,
    b"ic08": 256,
    b"ic09": 512,
    b"ic10": 1024,  # 512@2x
    b"ic11": 32,    # 16@2x
    b"ic12": 64,    # 32@2x
    b"ic13": 256,   # 128@2x
    b"ic14": 512,   # 256@2x
}

# Qt's version, the least macOS that Qt names: the least that a build is made for.
LEAST_MACOS = {
    ("6.4.2", ""): "12.0",
    ("6.5.3", "11"): "12.0",
    ("6.8.3", ""): "12.0",
    ("6.8.3", "12"): "12.0",
    ("6.9.3", ""): "12.0",
    ("6.10.0", ""): "13.0",
    ("6.11.1", "13"): "13.0",
    ("6.12.0", ""): "14.4",
    ("6.12.0", "14.4"): "14.4",
    ("7.0.0", "16"): "16.0",
}

AGL = "links the framework AGL, which this SDK lacks"
YIELD = "has a header (qyieldcpu.h) that does not compile with it for Apple's processors"
# Qt's version, the macOS SDK's: why they cannot build together.
SDK_TROUBLE = {
    ("6.8.3", "15.5"): "",
    ("6.8.3", ""): "",
    ("6.8.3", "26"): AGL,
    ("6.8.3", "26.0"): AGL,
    ("6.8.3", "26.4"): AGL,
    ("6.4.2", "26.0"): AGL,
    ("6.9.1", "26.0"): AGL,
    ("6.9.2", "26.0"): "",
    ("6.10.0", "26.3"): "",
    ("6.10.1", "26.4"): YIELD,
    ("6.11.0", "26.4.1"): YIELD,
    ("6.11.1", "26.4"): "",
    ("6.12.0", "27.0"): "",
}

# A day of 2026: what is made from it does not change with the calendar.
ENVIRONMENT = {**builds.os.environ, "SOURCE_DATE_EPOCH": "1772366400"}


def configure(folder, *options, environment=None):
    return builds.run(
        builds.CMAKE, "-S", builds.SOURCE, "-B", folder, "-G", "Ninja",
        f"-DCMAKE_TOOLCHAIN_FILE={DARWIN / 'toolchain.cmake'}",
        f"-DCMAKE_PROJECT_INCLUDE={DARWIN / 'project.cmake'}",
        f"-DCMAKE_CXX_COMPILER={builds.clang()}", "-DCMAKE_BUILD_TYPE=Debug",
        "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON",
        "-DQUILLMERE_BUILD_TESTS=OFF", "-DQUILLMERE_BUILD_CATALOGUE=OFF",
        f"-DQUILLMERE_WARNINGS_AS_ERRORS={ENVIRONMENT.get('QUILLMERE_WARNINGS_AS_ERRORS', '')}",
        *builds.launcher(), *options, env=environment or ENVIRONMENT)


def asked(function, *arguments):
    """What a function of platform.cmake says."""
    script = builds.fresh_folder("asked") / "ask.cmake"
    words = " ".join(f'"{argument}"' for argument in arguments)
    script.write_text(f"include({builds.SOURCE}/packaging/macos/platform.cmake)\n"
                      f'{function}(answer {words})\nmessage(STATUS "${{answer}}")\n',
                      encoding="utf-8")
    return builds.succeed(builds.CMAKE, "-P", script).removeprefix("-- ").rstrip("\n")


def icon_entries(data):
    """The pictures of an icon file by their type."""
    kind, length = struct.unpack(">4sI", data[:8])
    assert (kind, length) == (b"icns", len(data)), "no icon file"
    entries = {}
    place = 8
    while place < length:
        kind, size = struct.unpack(">4sI", data[place:place + 8])
        assert kind not in entries, f"{kind} twice"
        entries[kind] = data[place + 8:place + size]
        place += size
    return entries


class BundleTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.qt = builds.os.environ["QUILLMERE_QT"]
        cls.least = asked("quillmere_least_macos", cls.qt, "")
        EXPECTED_PLIST["LSMinimumSystemVersion"] = cls.least
        cls.build = builds.fresh_folder("build")
        cls.prefix = builds.fresh_folder("installed")
        # Stands in for Qt's deploy tool: notes where and how it is called.
        cls.deploy_log = builds.fresh_folder("tools") / "deploy.txt"
        tool = cls.deploy_log.with_name("macdeployqt")
        tool.write_text(f'#!/bin/sh\nprintf "%s\\n" "$PWD" "$@" >>"{cls.deploy_log}"\n',
                        encoding="utf-8")
        tool.chmod(tool.stat().st_mode | stat.S_IXUSR)
        result = configure(cls.build, f"-DMACDEPLOYQT_EXECUTABLE={tool}")
        if result.returncode != 0:
            raise AssertionError(result.stdout)
        builds.succeed(builds.CMAKE, "--build", cls.build, "--target", "quillmere")
        builds.succeed(builds.CMAKE, "--install", cls.build, "--prefix", cls.prefix)

    def test_installs_the_bundle_and_nothing_else(self):
        files = sorted(str(path.relative_to(self.prefix))
                       for path in self.prefix.rglob("*") if not path.is_dir())
        self.assertEqual(files, sorted([PROGRAM, PLIST, ICON]))
        self.assertTrue((self.prefix / PROGRAM).stat().st_mode & stat.S_IXUSR)
        self.assertEqual((self.prefix / PROGRAM).read_bytes()[:4], b"\x7fELF")

    def test_builds_the_bundle_where_the_scripts_look_for_it(self):
        self.assertTrue((self.build / PROGRAM).is_file())

    def test_info_plist_says_what_it_must(self):
        with open(self.prefix / PLIST, "rb") as file:
            self.assertEqual(plistlib.load(file), EXPECTED_PLIST)

    def test_icon_has_every_size_as_a_png(self):
        entries = icon_entries((self.prefix / ICON).read_bytes())
        entries.pop(b"TOC ")
        self.assertEqual(set(entries), set(EXPECTED_ICONS))
        for kind, picture in entries.items():
            with self.subTest(kind):
                self.assertEqual(picture[:8], b"\x89PNG\r\n\x1a\n")
                width, height, depth, colours = struct.unpack(">IIBB", picture[16:26])
                self.assertEqual((width, height), (EXPECTED_ICONS[kind],) * 2)
                self.assertEqual((depth, colours), (8, 6), "8 bits, with transparency")

    def test_install_calls_qts_deploy_tool_once_on_the_installed_bundle(self):
        folder, bundle, *options = self.deploy_log.read_text(encoding="utf-8").splitlines()
        self.assertEqual(folder, str(self.prefix))
        self.assertEqual(bundle, "Quillmere.app")
        self.assertIn("-always-overwrite", options)
        self.assertTrue(all(option.startswith("-") for option in options), options)

    def test_downloads_are_not_marked_when_the_deployer_says_so(self):
        self.assertEqual(self.plist_with("-DQUILLMERE_QUARANTINE_DOWNLOADS=OFF"),
                         {**EXPECTED_PLIST, "LSFileQuarantineEnabled": False})

    def test_identifier_and_author_are_the_deployers(self):
        changed = self.plist_with("-DQUILLMERE_BUNDLE_IDENTIFIER=net.example.apps",
                                  "-DQUILLMERE_AUTHOR=Ada_&_<Co>")
        self.assertEqual(changed, {**EXPECTED_PLIST, "CFBundleIdentifier": "net.example.apps",
                                   "NSHumanReadableCopyright": "Copyright © 2026 Ada & <Co>"})

    def test_the_deployment_target_is_qts(self):
        commands = (self.build / "compile_commands.json").read_text(encoding="utf-8")
        self.assertEqual(set(re.findall(r"-mmacosx-version-min=(\S+)", commands)),
                         {self.least})
        for options, least in ((("-DQT_SUPPORTED_MIN_MACOS_VERSION=15.4",), "15.4"),
                               (("-DCMAKE_OSX_DEPLOYMENT_TARGET=15.1",), "15.1")):
            with self.subTest(least):
                self.assertEqual(self.plist_with(*options),
                                 {**EXPECTED_PLIST, "LSMinimumSystemVersion": least})

    def test_a_deployment_target_below_qts_stops_with_one_clear_line(self):
        told = self.refusal("-DCMAKE_OSX_DEPLOYMENT_TARGET=11.0")
        self.assertEqual(told, f"CMAKE_OSX_DEPLOYMENT_TARGET is 11.0, but with Qt {self.qt} "
                               f"Quillmere needs macOS {self.least}.")

    def test_an_sdk_that_cannot_do_stops_with_one_clear_line(self):
        if asked("quillmere_sdk_trouble", self.qt, "26.0") != AGL:
            self.skipTest(f"Qt {self.qt} builds with every SDK that is known here")
        self.assertEqual(self.refusal(sdk="26.0"),
                         f"Qt {self.qt} does not build with the macOS SDK 26.0: it {AGL}. Choose "
                         "an Xcode before 26 by DEVELOPER_DIR, or Qt 6.11.1 or later.")
        folder = builds.fresh_folder("configured")
        for options, sdk in (((), "15.5"), (("-DQUILLMERE_CHECK_XCODE=OFF",), "26.0")):
            with self.subTest(options=options, sdk=sdk):
                result = configure(folder, *options, environment=self.with_sdk(sdk))
                self.assertEqual(result.returncode, 0, result.stdout)

    def test_every_qt_has_its_least_macos_and_its_sdks(self):
        for function, table in (("quillmere_least_macos", LEAST_MACOS),
                                ("quillmere_sdk_trouble", SDK_TROUBLE)):
            for arguments, expected in table.items():
                with self.subTest(function, arguments=arguments):
                    self.assertEqual(asked(function, *arguments), expected)

    def with_sdk(self, version):
        """An environment whose xcrun names this SDK."""
        tools = builds.fresh_folder("xcode")
        tool = tools / "xcrun"
        tool.write_text('#!/bin/sh\n[ "$*" = "--sdk macosx --show-sdk-version" ] && '
                        f"echo {version}\n", encoding="utf-8")
        tool.chmod(tool.stat().st_mode | stat.S_IXUSR)
        return {**ENVIRONMENT, "PATH": f"{tools}:{ENVIRONMENT['PATH']}"}

    def refusal(self, *options, sdk="15.5"):
        """The one line by which a build is refused."""
        result = configure(builds.fresh_folder("refused"), *options,
                           environment=self.with_sdk(sdk))
        self.assertNotEqual(result.returncode, 0)
        found = re.search(r"^CMake Error at packaging/macos/platform\.cmake:.*\n((?: +.*\n)+)",
                          result.stdout, re.MULTILINE)
        self.assertTrue(found, result.stdout)
        lines = found[1].strip().splitlines()
        self.assertEqual(len(lines), 1, lines)
        return lines[0]

    def plist_with(self, *options):
        """The Info.plist of a build that is configured only."""
        folder = builds.fresh_folder("configured")
        result = configure(folder, *options)
        self.assertEqual(result.returncode, 0, result.stdout)
        with open(folder / PLIST, "rb") as file:
            return plistlib.load(file)


if __name__ == "__main__":
    if not builds.clang():
        builds.skip("the part of a Mac's compiler is played by clang, and there is none")
    builds.main()
