"""Builds Quillmere as an organisation deploys it: with the preset and values of its own.

What the build then holds is told by tst_deployment.cpp, which has the same values.
"""

import os
import subprocess
import unittest

import builds

VALUES = {
    "QUILLMERE_BASE_URL": "https://apps.example.net/mac/",
    "QUILLMERE_AUTHOR": "Ada_Example_Ltd",
    "QUILLMERE_MAIL": "it@example.net",
    "QUILLMERE_WEBSITE": "https://www.example.net/apps",
}


def configure(folder, *options):
    """As the documents say, but into a folder of its own; standard error stands alone."""
    command = [builds.CMAKE, "--preset", "release", "-B", folder, *builds.launcher(), *options]
    return subprocess.run([str(word) for word in command], cwd=builds.SOURCE, text=True,
                          capture_output=True, check=False)


class DeploymentTest(unittest.TestCase):
    def test_settings_and_about_box_are_the_deployers(self):
        folder = builds.fresh_folder("build")
        result = configure(folder, "-DQUILLMERE_BUILD_TESTS=ON",
                           *(f"-D{name}={value}" for name, value in VALUES.items()))
        self.assertEqual(result.returncode, 0, result.stderr)
        builds.succeed(builds.CMAKE, "--build", folder, "--target", "tst_deployment")
        print(builds.succeed(folder / "tests" / "packaging" / "tst_deployment",
                             env={**os.environ, "QT_QPA_PLATFORM": "offscreen"}))

    def test_a_bad_base_url_stops_with_one_clear_line(self):
        for url in ("http://apps.example.net/", "https://apps.example.net",
                    "https://apps.example.net/mac", "ftp://apps.example.net/", "apps.example.net/",
                    "https:///", "https://apps.example.net/a&b/", "https://apps.example.net/<a>/",
                    "https://apps.example.net/a b/", 'https://apps.example.net/"/', ""):
            with self.subTest(url):
                folder = builds.fresh_folder("refused")
                result = configure(folder, f"-DQUILLMERE_BASE_URL={url}")
                self.assertNotEqual(result.returncode, 0)
                told = [line.strip() for line in result.stderr.splitlines()
                        if line.strip() and not line.startswith("CMake Error at CMakeLists.txt:")]
                self.assertEqual(told, [
                    f'QUILLMERE_BASE_URL is "{url}", but must begin with https://, end with / and '
                    'hold no blank and none of < > & ; and quotes.'])
                self.assertFalse((folder / "build.ninja").exists())

    def test_other_good_base_urls_are_taken(self):
        for url in ("https://apps.example.net/", "https://apps.example.net:8443/",
                    "https://apps.example.net/a/b.c/~d/"):
            with self.subTest(url):
                folder = builds.fresh_folder("taken")
                result = configure(folder, f"-DQUILLMERE_BASE_URL={url}")
                self.assertEqual(result.returncode, 0, result.stderr)
                text = (folder / "resources" / "default-config.xml").read_text(encoding="utf-8")
                self.assertIn(f"<baseURL>{url}</baseURL>", text)


if __name__ == "__main__":
    builds.main()
