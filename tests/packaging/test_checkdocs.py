"""Runs scripts/check_docs.py on small projects that have one fault, or none."""

import subprocess
import sys
import unittest

import builds

SCRIPT = builds.SOURCE / "scripts" / "check_docs.py"
DOCUMENT = "docs/page.md"
QUOTING = "docs/troubleshooting.md"
SOURCE_FILE = """
    // "Only a comment"
    const bool isQuote = c == u'"';
    Debug(Debug::Error) << "Saving failed: " << path << " (" << code << ")";
    box(tr("Two parts "
           "of one text"), u"Réponse vide du serveur"_s);
"""
FORM = "<ui><string>Reset &amp; go</string></ui>"


class CheckDocsTest(unittest.TestCase):
    def faults(self, text, path=DOCUMENT, files=(), arguments=()):
        """What the check says against a project with this document; None when nothing."""
        folder = builds.fresh_folder("project")
        subprocess.run(["git", "init", "-q"], cwd=folder, check=True)
        contents = {"src/a.cpp": SOURCE_FILE, "src/b.ui": FORM,
                    "docs/other.md": "# Some `code`, here\n\n# Twice\n\n# Twice\n",
                    "check.sh": "make check\n", path: text, **dict(files)}
        for name, content in contents.items():
            (folder / name).parent.mkdir(parents=True, exist_ok=True)
            (folder / name).write_text(content, encoding="utf-8")
        result = builds.run(sys.executable, SCRIPT, *arguments, folder)
        return None if result.returncode == 0 else result.stdout

    def accept(self, text, *arguments, **options):
        self.assertIsNone(self.faults(text, *arguments, **options))

    def reject(self, reason, text, *arguments, **options):
        self.assertIn(reason, str(self.faults(text, *arguments, **options)))

    def test_links_to_files_folders_headings_and_the_network_are_good(self):
        self.accept("# Top\n[a](other.md) [b](../src) [c](other.md#some-code-here) [d](#top) "
                    "[e](other.md#twice-1) [f](https://example.org/x) ![g](../check.sh) "
                    "`[h](nowhere)`\n```\n[i](nowhere)\n```\n")

    def test_links_to_nothing_are_faults(self):
        self.reject("leads to no file", "[a](nowhere.md)")
        self.reject("leads to no file", "![a](images/nowhere.png)")
        self.reject("leads to no file", "[a](../../outside.md)")
        self.reject("leads to no heading", "[a](other.md#nothing)")
        self.reject("leads to no heading", "[a](other.md#twice-2)")
        self.reject("leads to no heading", "[a](#nothing)")

    def test_commands_that_succeed_are_good(self):
        self.accept("```sh\ntest -f check.sh  # a comment\ngit log -1\n```\n```sh\ntest -d src\n```")

    def test_commands_run_in_a_copy_and_one_after_another(self):
        self.accept("```sh\necho made >made.txt\n```\n```sh\ntest -f made.txt\n```\n")
        self.assertFalse((builds.SCRATCH / "project" / "made.txt").exists())

    def test_commands_that_fail_are_faults(self):
        self.reject("fails with exit status 1", "```sh\nfalse\ntrue\n```\n")
        self.reject("fails with exit status 127", "```sh\nno-such-command-anywhere\n```\n")
        self.reject("fails with exit status 1", "```sh\nfalse | true\n```\n")

    def test_commands_are_left_out_where_the_block_or_the_caller_says_so(self):
        self.accept("```sh not-run: needs a Mac\nfalse\n```\n```\nfalse\n```\n```cpp\nfalse\n```\n")
        self.accept("```sh\nfalse\n```\n", arguments=["--no-commands"])
        self.reject("unknown words", "```sh later\nfalse\n```\n")
        self.reject("unknown words", "```sh not-run:\nfalse\n```\n")

    def test_commands_that_a_script_runs_must_be_in_it(self):
        self.accept("```sh ran-by: check.sh\nmake check  # all\n```\n")
        self.reject("check.sh does not run: make install",
                    "```sh ran-by: check.sh\nmake install\n```\n")
        self.reject("does not exist", "```sh ran-by: nowhere.sh\nmake check\n```\n")

    def test_quoted_texts_of_the_program_are_good(self):
        self.accept('# `Saving failed: … (…)`\n"Two parts of one text" and "Réponse vide\ndu '
                    'serveur" and "Reset & go"; `"not this"`.\n', path=QUOTING)

    def test_quoted_texts_that_the_program_lacks_are_faults(self):
        for quoted in ("# `Saving worked`", "# `… (Saving failed: …`", '"Only a comment"',
                       '"Two parts"x"serveur…Réponse"', '"saving failed"'):
            with self.subTest(quoted):
                self.reject("the program does not say", quoted, path=QUOTING)
        self.accept('"Not a quoting document"')

    def test_a_drawing_shows_every_label_of_its_source(self):
        source = 'digraph g { a [label="one\\ntwo"] }'
        self.accept("", files={"docs/g.dot": source, "docs/g.svg": "<text>one</text><text>two</text>"})
        self.reject("does not show: two", "",
                    files={"docs/g.dot": source, "docs/g.svg": "<text>one</text>"})
        self.reject("does not show: one", "", files={"docs/g.dot": source})


if __name__ == "__main__":
    builds.main()
