"""The made installers: each a file, and what is true of it.

A truth is {"kind": ..., "items": [...]}; an item has the bundles that it brings, or, where nobody
can know them, "unknown": True. A value that nobody can know is UNKNOWN.
"""

import pathlib
import shutil
import subprocess
import zipfile

import containers
import images
from bundles import Bundle, Entry, program

UNKNOWN = {"unknown": True}
BOTH = ["arm64", "x86_64"]


def item(bundles, on=None, place="/Applications/", **more):
    facts = [bundle.facts(place) for bundle in bundles]
    return {"openedOn": on or BOTH, "bundles": sorted(facts, key=lambda f: f["location"]), **more}


def unknown_item(**more):
    return {"openedOn": BOTH, "unknown": True, **more}


class Shapes:
    """Writes installers into a folder and keeps their truths, by file name."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.truths = {}

    def keep(self, name, kind, *items):
        assert name not in self.truths, name
        self.truths[name] = {"kind": kind, "items": list(items)}
        return self.folder / name

    def add(self, name, kind, data, *items):
        self.keep(name, kind, *items).write_bytes(data)

    # ZIP archives

    def zip_of(self, name, bundle, *items, entries=None, **how):
        path = self.keep(f"{name}.zip", "zip", *(items or [item([bundle], path=bundle_path(bundle))]))
        containers.zip_archive(path, bundle.entries() if entries is None else entries, **how)

    def zips(self):
        for form in ("xml", "binary", "old", "crlf", "utf16"):
            self.zip_of(f"form-{form}", Bundle(form=form))
        for number, processors in enumerate(
            [("arm64",), ("x86_64",), ("arm64", "x86_64"), ("i386", "x86_64"), ("i386",), ("ppc",),
             ("arm64", "i386", "x86_64")]):
            self.zip_of(f"processors-{number}", Bundle(processors=processors))
        self.zip_of("processors-wide", Bundle(program=program("arm64", "x86_64", wide=True)))
        self.zip_of("script", Bundle(program=b"#!/bin/sh\n", truth={"processors": UNKNOWN}))
        self.zip_of("odd-program", Bundle(program=b"none of it", truth={"processors": UNKNOWN}))
        self.zip_of("java-class", Bundle(program=b"\xca\xfe\xba\xbe\0\0\0\x41" + bytes(600),
                                         truth={"processors": UNKNOWN}))
        for version in ("1.0 (45)", "2024.1", "3", "1.2.3-beta", "v2", "10.0.0.1"):
            for form in ("xml", "binary"):
                self.zip_of(f"version-{version.replace(' ', '_')}-{form}",
                            Bundle(version=version, form=form))
        long = {"CFBundleLongVersionString": "4.5 long"}
        self.zip_of("long-version", Bundle(version=None, values=long, truth={"version": "4.5"}))
        self.zip_of("long-binary", Bundle(version=None, values=long, form="binary",
                                          truth={"version": "4.5"}))
        self.zip_of("no-version", Bundle(version=None))
        self.zip_of("number", Bundle(version=None, values={"CFBundleShortVersionString": 7},
                                     form="binary", truth={"version": "7"}))
        self.zip_of("real", Bundle(version=None, values={"CFBundleShortVersionString": 7.5},
                                   form="binary", truth={"version": UNKNOWN}))
        self.zip_of("dictionary", Bundle(version=None,
                                         values={"CFBundleShortVersionString": {"a": "1"}},
                                         truth={"version": UNKNOWN}))
        nested = {"Nested": {"CFBundleShortVersionString": "9.9"}}
        # The client takes the last value of the key in XML text, however deep it lies.
        self.zip_of("nested-xml", Bundle(values={"Zzz": nested}, truth={"version": "9.9"}))
        self.zip_of("nested-binary", Bundle(values={"Zzz": nested}, form="binary"))
        self.zip_of("dots", Bundle(name="My.appliance", truth={"name": "Myliance"}))
        self.zip_of("accents", Bundle(name="Éditeur"))
        self.zip_of("blanks", Bundle(name="Synth Pro 2"))
        self.zip_of("implied-folders", Bundle(), parents=False)
        self.zip_of("stored", Bundle(), method=zipfile.ZIP_STORED)
        self.zip_of("bzip2", Bundle(), method=zipfile.ZIP_BZIP2)
        bundle = Bundle(folder="Synth 2.5/")
        self.zip_of("in-folder", bundle)
        self.zip_of("no-dates", Bundle(changed=0, truth={"newestFile": UNKNOWN}), parents=False)
        helper = Entry("Contents/Helpers/Help.app/Contents/Info.plist",
                       Bundle(version="0.1").info_plist(), 0o644)
        self.zip_of("helper", Bundle(extra=[helper]))
        uninstaller = Bundle(name="Uninstall Synth", version="1")
        self.zip_of("uninstaller", Bundle(), entries=Bundle().entries() + uninstaller.entries())
        arm, intel = Bundle(name="Synth-arm64", processors=("arm64",)), Bundle(
            name="Synth-x86_64", processors=("x86_64",), version="2.4")
        self.zip_of("per-processor", arm, item([arm], ["arm64"], path="Synth-arm64.app"),
                    item([intel], ["x86_64"], path="Synth-x86_64.app"),
                    entries=arm.entries() + intel.entries())
        self.zip_of("not-executable", Bundle(mode=0o644))
        self.zip_of("nothing", Bundle(), {"unknown": True},
                    entries=[Entry("ReadMe.txt", b"read me")])
        self.zip_of("cut-list", Bundle(), item([Bundle(truth={
            "version": UNKNOWN, "identifier": UNKNOWN, "minimumSystem": UNKNOWN,
            })]), entries=with_list(b"bplist00\xd1\x01"))
        self.by_other_programs()

    def by_other_programs(self):
        bundle = Bundle()
        for name, command in {
            "by-zip": ["zip", "-qry"],
            "by-7z": [shutil.which("7z") or "7zz", "a", "-tzip", "-bso0", "-bsp0"],
            "by-bsdtar": ["bsdtar", "-c", "--format", "zip", "-f"],
        }.items():
            root = self.folder / "root"
            root.mkdir()
            containers.lay_out(bundle.entries(), root)
            path = self.keep(f"{name}.zip", "zip", item([bundle]))
            subprocess.run([*command, str(path), "Synth.app"], cwd=root, check=True)
            subprocess.run(["rm", "-r", str(root)], check=True)

    # Packages

    def package(self, name, payload, *items, info=None, **how):
        files = {"PackageInfo": info or containers.package_info(), "Payload": payload, "Bom": b"b"}
        self.add(f"{name}.pkg", "package", containers.xar(files, **how), *items)

    def packages(self):
        bundle = Bundle()
        for packer, pack in containers.PACKERS.items():
            for form in ("odc", "newc"):
                self.package(f"{packer}-{form}", pack(containers.cpio(bundle.entries(), form=form)),
                             item([bundle]))
        payload = containers.PACKERS["gzip"](containers.cpio(bundle.entries()))
        for checksum in ("sha1", "sha256", "sha512"):
            for method in ("gzip", "none"):
                self.package(f"{checksum}-{method}", payload, item([bundle]), checksum=checksum,
                             method=method)
        self.package("payload-first", payload, item([bundle]), first=["Payload"])
        self.package("info-first", payload, item([bundle]), first=["PackageInfo"])
        chunks = containers.cpio(bundle.entries() + [Entry("Synth.app/Contents/big", bytes(90_000))])
        for number, stored in enumerate([(), (0,), (1, 2), (0, 1, 2, 3, 4)]):
            self.package(f"chunks-{number}", containers.pbzx(chunks, 30_000, stored), item([bundle]))
        for form in ("xml", "binary", "old"):
            one = Bundle(form=form, version="3.1 (7)")
            self.package(f"list-{form}", gzipped(one.entries()), item([one]))
        for processors in (("arm64",), ("x86_64",), ("i386", "x86_64")):
            one = Bundle(processors=processors)
            self.package(f"for-{'-'.join(processors)}", gzipped(one.entries()), item([one]))
        self.by_libarchive(payload, bundle)
        self.locations()
        self.products()
        self.broken_packages(payload)

    def by_libarchive(self, payload, bundle):
        files = {"PackageInfo": containers.package_info(), "Payload": payload}
        for options in ("", "xar:compression=bzip2", "xar:compression=none", "xar:checksum=md5",
                        "xar:compression=xz", "xar:compression=lzma"):
            self.add(f"by-libarchive-{options[4:] or 'plain'}.pkg", "package",
                     containers.xar_by_bsdtar(files, self.folder, options), item([bundle]))

    def locations(self):
        bundle = Bundle()
        inside = Bundle(folder="Applications/")
        deep = Bundle(folder="Applications/Music/Tools/")
        too_deep = Bundle(folder="Applications/a/b/c/")
        elsewhere = Bundle(folder="Library/Synth/")
        for name, location, entries, bundles, place in [
            ("root", "/", inside.entries(), [bundle], "/Applications/"),
            ("root-untold", None, inside.entries(), [bundle], "/Applications/"),
            ("slash-at-end", "/Applications/", bundle.entries(), [bundle], "/Applications/"),
            ("sub-folder", "/Applications/Music", bundle.entries(), [bundle], "/Applications/Music/"),
            ("deep", "/", deep.entries(), [bundle], "/Applications/Music/Tools/"),
            ("too-deep", "/", too_deep.entries(), [], ""),
            ("elsewhere", "/", elsewhere.entries(), [], ""),
            ("elsewhere-all", "/Library/Synth", bundle.entries(), [], ""),
            ("users", "/Users/Shared/Applications", bundle.entries(), [], ""),
        ]:
            self.package(f"to-{name}", gzipped(entries), item(bundles, place=place),
                         info=containers.package_info(location))
        contents = [entry for entry in bundle.entries() if "/" in entry.path]
        for entry in contents:
            entry.path = entry.path.removeprefix("Synth.app/")
        self.package("to-bundle", gzipped(contents), item([bundle]),
                     info=containers.package_info("/Applications/Synth.app"))
        self.package("relocatable", gzipped(bundle.entries()),
                     item([bundle], notes=["relocatable"]),
                     info=containers.package_info(relocatable=True))
        self.package("relocated", gzipped(bundle.entries()), item([bundle], notes=["relocatable"]),
                     info=containers.package_info(
                         inner='<relocate><bundle id="org.example.synth"/></relocate>'))
        self.package("scripts", gzipped(bundle.entries()), item([bundle], notes=["scripts"]),
                     info=containers.package_info(scripts=["preinstall", "postinstall"]))
        self.package("scripts-alone", gzipped(elsewhere.entries()), unknown_item(),
                     info=containers.package_info("/", scripts=["postinstall"]))
        for prefix in ("", "/", ".//"):
            self.package(f"prefix-{len(prefix)}",
                         containers.PACKERS["gzip"](containers.cpio(bundle.entries(), prefix)),
                         item([bundle]))

    def product(self, name, components, choices, *items, attributes="", inner="", refs=None):
        files = {}
        packages = {}
        for number, (folder, info, entries) in enumerate(components):
            files[f"{folder}/PackageInfo"] = info
            files[f"{folder}/Payload"] = gzipped(entries)
            packages[f"id{number}"] = "#" + folder
        files["Distribution"] = containers.distribution({**packages, **(refs or {})}, choices,
                                                        attributes, inner)
        self.add(name, "package", containers.xar(files), *items)

    def products(self):
        synth, tuner = Bundle(), Bundle(name="Tuner", version="1.1", identifier="org.example.tuner")
        info = containers.package_info()
        one, two = ("synth.pkg", info, synth.entries()), ("tuner.pkg", info, tuner.entries())
        self.product("product.pkg", [one], [("", ["id0"])], item([synth]))
        self.product("product.mpkg", [one], [("", ["id0"])], item([synth]))
        self.product("product-two.pkg", [one, two], [("", ["id0", "id1"])], item([synth, tuner]))
        self.product("product-choices.pkg", [one, two],
                     [("", ["id0"]), ('start_selected="false"', ["id1"])],
                     item([synth, tuner], notes=["decides"]))
        self.product("product-unchosen.pkg", [one, two], [("", ["id0"])], item([synth]))
        self.product("product-custom.pkg", [one],
                     [('customLocation="/Applications/Music"', ["id0"])],
                     item([synth], place="/Applications/Music/"))
        self.product("product-system.pkg", [one], [("", ["id0"])],
                     item([synth], notes=["macOS 12.0", "arm64"]),
                     inner='<options hostArchitectures="arm64"/><volume-check>'
                     '<allowed-os-versions><os-version min="12.0"/></allowed-os-versions>'
                     "</volume-check>")
        self.product("product-script.pkg", [one], [("", ["id0"])], item([synth], notes=["script"]),
                     inner="<script>function f() { return true; }</script>")
        self.product("product-blanks.pkg", [("my synth.pkg", info, synth.entries())],
                     [("", ["id0"])], item([synth]))
        self.product("product-elsewhere.pkg", [one], [("", ["id0"])], unknown_item(),
                     refs={"far": "https://packages.example.org/far.pkg"})
        same = Bundle(processors=("x86_64",))
        other = Bundle(processors=("arm64",))
        self.product("product-same.pkg", [("a.pkg", info, same.entries()),
                                          ("b.pkg", info, other.entries())],
                     [("", ["id0"]), ("", ["id1"])],
                     item([Bundle(truth={"processors": UNKNOWN})]))

    def broken_packages(self, payload):
        whole = containers.xar({"PackageInfo": containers.package_info(), "Payload": payload})
        for part in (0.1, 0.5, 0.9):
            self.add(f"cut-{part}.pkg", "package", whole[: int(len(whole) * part)], unknown_item())
        self.package("payload-cut", payload[: len(payload) // 2], unknown_item())
        self.package("payload-wrong", b"AA01" + bytes(500), unknown_item())
        self.package("info-wrong", payload, unknown_item(), info=b"<pkg-info")
        self.add("no-package.pkg", "package", containers.xar({"ReadMe": b"x"}), unknown_item())
        self.add("web-page.pkg", "package", b"<!DOCTYPE html><html></html>", unknown_item())

    # Installers in archives

    def nested(self):
        bundle = Bundle()
        package = containers.xar({"PackageInfo": containers.package_info(),
                                  "Payload": gzipped(bundle.entries())})
        for name in ("Synth.pkg", "Synth.mpkg", "folder/Synth.pkg"):
            path = self.keep(f"packed-{name.replace('/', '-')}.zip", "zip",
                             item([bundle], path=name))
            containers.zip_archive(path, [Entry(name, package, 0o644)])
        image = images.udif([images.hfs_plus(bundle.entries())])
        path = self.keep("packed-image.zip", "zip", item([bundle], path="Synth.dmg"))
        containers.zip_archive(path, [Entry("Synth.dmg", image, 0o644)])
        old = [Entry("Synth.pkg/Contents/Archive.pax.gz", b"x", 0o644)]
        containers.zip_archive(self.keep("packed-old.zip", "zip", unknown_item()), old)

    # Disk images

    def image(self, name, volumes, *items, **how):
        self.add(f"{name}.dmg", "image", images.udif(volumes, **how), *items)

    def images(self):
        bundle = Bundle(extra=[Entry("Contents/Current", target="Resources")])
        link = Entry("Applications", target="/Applications")
        volume = images.hfs_plus(bundle.entries() + [link])
        for kind in images.KINDS:
            self.image(f"kind-{kind}", [volume], item([bundle]), kind=kind)
            self.image(f"pieces-{kind}", [volume], item([bundle]), kind=kind, piece=8192)
        self.image("licence", [volume], item([bundle]), licence=True)
        self.image("case", [images.hfs_plus(bundle.entries(), case_sensitive=True)], item([bundle]))
        many = [Entry(f"files/{i:04}", b"x") for i in range(200)]
        self.image("many", [images.hfs_plus(bundle.entries() + many)], item([bundle]))
        for form in ("xml", "binary", "old"):
            one = Bundle(form=form, version="3.1 (7)")
            self.image(f"list-{form}", [images.hfs_plus(one.entries())], item([one]))
        for processors in (("arm64",), ("x86_64",), ("i386", "x86_64")):
            one = Bundle(processors=processors)
            self.image(f"for-{'-'.join(processors)}", [images.hfs_plus(one.entries())], item([one]))
        other = Bundle(name="Tuner", version="1.1", identifier="org.example.tuner")
        self.image("two", [images.hfs_plus(bundle.entries() + other.entries())],
                   item([bundle, other]))
        self.image("volumes", [volume, images.hfs_plus(other.entries(), "Second")],
                   item([bundle, other]))
        uninstaller = Bundle(name="Uninstall Synth")
        self.image("uninstaller-image",
                   [images.hfs_plus(bundle.entries() + uninstaller.entries())], item([bundle]))
        self.image("folder", [images.hfs_plus(Bundle(folder="Synth 2.5/").entries())],
                   item([bundle]))
        self.image("volume-name", [images.hfs_plus(bundle.entries(), "Other name")],
                   item([bundle]))
        package = containers.xar({"PackageInfo": containers.package_info(),
                                  "Payload": gzipped(bundle.entries())})
        inside = [Entry("Install.pkg", package, 0o644), Entry("ReadMe.txt", b"read me", 0o644)]
        self.image("with-package", [images.hfs_plus(inside)], item([bundle]))
        self.image("with-both", [images.hfs_plus(inside + bundle.entries())], unknown_item())
        self.image("nothing-seen", [images.hfs_plus([Entry("ReadMe.txt", b"x")])], unknown_item())
        whole = images.udif([volume])
        self.add("image-cut.dmg", "image", whole[: len(whole) // 2] + whole[-512:], unknown_item())
        self.add("no-image.dmg", "image", b"x" * 2000, unknown_item())
        self.add("no-volume.dmg", "image", images.udif([b"x" * 81920]), unknown_item())


def bundle_path(bundle):
    return f"{bundle.folder}{bundle.name}.app"


def gzipped(entries):
    return containers.PACKERS["gzip"](containers.cpio(entries))


def with_list(content):
    entries = Bundle().entries()
    for entry in entries:
        if entry.path.endswith("Info.plist"):
            entry.content = content
    return entries
