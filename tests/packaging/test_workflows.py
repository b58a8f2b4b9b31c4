"""What must hold in every workflow, since none of them can be run here."""

import re
import unittest

import builds

WORKFLOWS = sorted((builds.SOURCE / ".github" / "workflows").glob("*.yml"))
USES = re.compile(r"^\s*(?:- )?uses: (\S+)(.*)$", re.MULTILINE)


def jobs():
    """(workflow and job, the job's text) of each."""
    for path in WORKFLOWS:
        _, _, text = path.read_text(encoding="utf-8").partition("\njobs:\n")
        parts = re.split(r"^  ([\w-]+):$", text, flags=re.MULTILINE)
        for name, body in zip(parts[1::2], parts[2::2]):
            yield f"{path.name}: {name}", body


def steps(job):
    return re.split(r"^      - ", job, flags=re.MULTILINE)[1:]


class WorkflowsTest(unittest.TestCase):
    def test_there_are_jobs(self):
        self.assertGreater(len(list(jobs())), 4)

    def test_actions_are_named_by_their_hash_with_the_release_beside(self):
        for name, job in jobs():
            with self.subTest(name):
                for action, comment in USES.findall(job):
                    self.assertRegex(action, r"^[\w./-]+@[0-9a-f]{40}$")
                    self.assertRegex(comment, r"^  # v\d+\.\d+\.\d+$")

    def test_one_action_has_one_hash(self):
        found = {use for _, job in jobs() for use in USES.findall(job)}
        self.assertEqual(len(found), len({action.split("@")[0] for action, _ in found}))

    def test_checkouts_leave_no_credentials(self):
        for name, job in jobs():
            with self.subTest(name):
                for step in steps(job):
                    if "actions/checkout@" in step:
                        self.assertIn("persist-credentials: false", step)

    def test_qt_that_cannot_do_with_the_newest_xcode_has_its_own(self):
        found = 0
        for name, job in jobs():
            with self.subTest(name):
                if "install-qt-action" in job:
                    found += 1
                    self.assertIn('version: "6.8.*"', job)
                    self.assertIn("DEVELOPER_DIR: /Applications/Xcode_16.4.app/", job)
        self.assertEqual(found, 3)

    def test_secrets_are_kept_from_what_was_built_and_from_the_code_of_others(self):
        found = 0
        for name, job in jobs():
            with self.subTest(name):
                if "secrets." not in job and "contents: write" not in job:
                    continue
                found += 1
                for action, _ in USES.findall(job):
                    self.assertRegex(action, "^actions/(checkout|(up|down)load-artifact)@")
                for word in ("brew", "pip", "cmake", "ctest", "--build-only", "check_mac",
                             "./test.sh", ".ci/run"):
                    self.assertNotIn(word, job)
        self.assertEqual(found, 2)

    def test_only_the_job_that_drafts_may_write(self):
        for path in WORKFLOWS:
            head, _, _ = path.read_text(encoding="utf-8").partition("\njobs:\n")
            self.assertIn("\npermissions:\n  contents: read\n", head)
        writing = [name for name, job in jobs() if ": write" in job]
        self.assertEqual(writing, ["release.yml: draft"])

    def test_a_release_has_every_value_of_the_deployers(self):
        build = dict(jobs())["release.yml: build"]
        script = (builds.SOURCE / "packaging/macos/make-dmg.sh").read_text(encoding="utf-8")
        names = re.search(r"^for name in ([A-Z_ ]+); do$", script, re.MULTILINE)[1].split()
        page = (builds.SOURCE / "docs/deploying.md").read_text(encoding="utf-8")
        documented = re.findall(r"^\| `QUILLMERE_(\w+)` \|", page, re.MULTILINE)
        self.assertEqual(sorted(names), sorted(documented))
        for name in names:
            self.assertIn(f"      QUILLMERE_{name}: ${{{{ vars.QUILLMERE_{name} }}}}\n", build)

    def test_every_script_that_is_run_is_there(self):
        found = 0
        for name, job in jobs():
            with self.subTest(name):
                for script in re.findall(r"(?:scripts|packaging/macos)/[\w-]+\.sh", job):
                    found += 1
                    self.assertTrue((builds.SOURCE / script).stat().st_mode & 0o100, script)
        self.assertGreater(found, 3)


if __name__ == "__main__":
    builds.main()
