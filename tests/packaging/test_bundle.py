"""Builds and installs Quillmere as a Mac application, with this machine's clang in a Mac's part.

What CMake and Qt's CMake files decide is proved here: the bundle's tree, its Info.plist, its icon
and the call of Qt's deploy tool. What Apple's tools do is not.
"""

import plistlib
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
    "LSMinimumSystemVersion": "12.0",
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

# A day of 2026: what is made from it does not change with the calendar.
ENVIRONMENT = {**builds.os.environ, "SOURCE_DATE_EPOCH": "1772366400"}


def configure(folder, *options):
    return builds.run(
        builds.CMAKE, "-S", builds.SOURCE, "-B", folder, "-G", "Ninja",
        f"-DCMAKE_TOOLCHAIN_FILE={DARWIN / 'toolchain.cmake'}",
        f"-DCMAKE_PROJECT_INCLUDE={DARWIN / 'project.cmake'}",
        f"-DCMAKE_CXX_COMPILER={builds.clang()}", "-DCMAKE_BUILD_TYPE=Debug",
        "-DQUILLMERE_BUILD_TESTS=OFF", "-DQUILLMERE_BUILD_CATALOGUE=OFF",
        f"-DQUILLMERE_WARNINGS_AS_ERRORS={ENVIRONMENT.get('QUILLMERE_WARNINGS_AS_ERRORS', '')}",
        *builds.launcher(), *options, env=ENVIRONMENT)


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
