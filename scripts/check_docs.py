#!/usr/bin/env python3
"""Checks the project's documents: every Markdown file that git lists or does not know yet.

    check_docs.py [--no-commands] [FOLDER]

- Links and pictures lead to a file of the project, and to a heading where they name one. Nothing
  is fetched from the network.
- Commands in blocks that begin with three backticks and "sh" succeed in a fresh copy of the
  project, with bash, an empty HOME and no input, one document's blocks one after another. Words
  after "sh" say why a block is not run:
      sh ran-by: FILE        the script FILE runs its commands, and names each of them
      sh not-run: REASON
- The program's texts that the user's documents quote exist in src/: headings of code in
  docs/troubleshooting.md, and "..." there and in docs/user-guide.md. "…" stands for what varies.
- A picture drawn from a .dot file shows all of that file's labels.
"""

import html
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

QUOTING_DOCUMENTS = ("docs/user-guide.md", "docs/troubleshooting.md")
COMMAND_SECONDS = 900

FENCE = re.compile(r"^```(.*?)$\n(.*?)^```$", re.MULTILINE | re.DOTALL)
LINK = re.compile(r"\[[^\]]*\]\(([^()\s]*(?:\([^()\s]*\))?[^()\s]*)\)")
HEADING = re.compile(r"^#+ +(.*?)#*$", re.MULTILINE)
STRING = re.compile(r'"((?:[^"\\\n]|\\.)*)"')


def listed_files(folder):
    """The project's files, by their paths in it."""
    output = subprocess.run(["git", "ls-files", "-z", "-c", "-o", "--exclude-standard"],
                            cwd=folder, capture_output=True, check=True).stdout
    paths = sorted(set(filter(None, output.decode().split("\0"))))
    return [path for path in paths if (folder / path).is_file()]


def without_code(text):
    """The text with its code blocks and code spans blanked out."""
    text = FENCE.sub("", text)
    return re.sub(r"`[^`\n]*`", "", text)


# --- Links ---------------------------------------------------------------------------------------


def anchors(text):
    """The names by which links reach a document's headings, as GitHub makes them."""
    found = []
    for heading in HEADING.findall(FENCE.sub("", text)):
        plain = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).replace("`", "").strip()
        slug = re.sub(r"[^\w\- ]", "", plain.lower()).replace(" ", "-")
        same = sum(1 for other in found if re.fullmatch(re.escape(slug) + r"(-\d+)?", other))
        found.append(slug if same == 0 else f"{slug}-{same}")
    return found


def check_links(folder, path, text):
    files = set(listed_files(folder))
    for target in LINK.findall(without_code(text)):
        if re.match(r"(https?|mailto):", target):
            continue
        name, _, anchor = target.partition("#")
        place = os.path.normpath(os.path.join(os.path.dirname(path), name)) if name else path
        if place not in files and not (folder / place).is_dir():
            yield f"{path}: the link {target} leads to no file of the project"
        elif anchor and anchor not in anchors((folder / place).read_text(encoding="utf-8")):
            yield f"{path}: the link {target} leads to no heading"


# --- Commands ------------------------------------------------------------------------------------


def command_lines(block):
    """A block's commands, without their comments."""
    lines = (re.sub(r"(^|\s)#.*", "", line).strip() for line in block.splitlines())
    return [line for line in lines if line]


def check_ran_by(folder, path, script, block):
    """Whether the script names each of the block's commands by its first word or file."""
    file = folder / script
    if not file.is_file():
        yield f"{path}: {script}, which is said to run a block, does not exist"
        return
    text = file.read_text(encoding="utf-8")
    for library in re.findall(r"^\. (\S+)", text, re.MULTILINE):
        text += (folder / library).read_text(encoding="utf-8")
    for line in command_lines(block):
        words = line.split()
        named = words[0] if "/" in words[0] else " ".join(words[:2])
        if named not in text:
            yield f"{path}: {script} does not run: {line}"


def run_block(copy, home, block):
    """What a block's commands say against themselves; empty when they succeed."""
    environment = {**os.environ, "HOME": str(home)}
    try:
        result = subprocess.run(["bash", "-euo", "pipefail", "-c", block], cwd=copy,
                                env=environment, stdin=subprocess.DEVNULL, text=True, check=False,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                timeout=COMMAND_SECONDS)
    except subprocess.TimeoutExpired:
        return f"not done after {COMMAND_SECONDS} s"
    if result.returncode == 0:
        return ""
    return f"exit status {result.returncode}\n" + "\n".join(result.stdout.splitlines()[-15:])


def make_copy(folder, target):
    """A copy of the project with a history of one commit."""
    for path in listed_files(folder):
        (target / path).parent.mkdir(parents=True, exist_ok=True)
        (target / path).write_bytes((folder / path).read_bytes())
        (target / path).chmod((folder / path).stat().st_mode)
    git = ["git", "-c", "user.name=Check", "-c", "user.email=check@example.org"]
    for command in (["init", "-q"], ["add", "-A"], ["commit", "-q", "-m", "Copy"]):
        subprocess.run(git + command, cwd=target, check=True)


def check_commands(folder, path, text):
    blocks = []
    for info, block in FENCE.findall(text):
        language, _, manner = info.strip().partition(" ")
        if language != "sh":
            continue
        kind, _, reason = manner.partition(":")
        if not manner:
            blocks.append(block)
        elif kind == "ran-by" and reason.strip():
            yield from check_ran_by(folder, path, reason.strip(), block)
        elif kind != "not-run" or not reason.strip():
            yield f"{path}: a block of commands is marked with unknown words: {manner}"
    if not blocks:
        return
    with tempfile.TemporaryDirectory() as scratch:
        copy, home = Path(scratch, "project"), Path(scratch, "home")
        copy.mkdir()
        home.mkdir()
        make_copy(folder, copy)
        for block in blocks:
            print(f"{path}: {'; '.join(command_lines(block))}", flush=True)
            said = run_block(copy, home, block)
            if said:
                yield f"{path}: a block of commands fails with {said}\n--\n{block}"


# --- Quoted texts --------------------------------------------------------------------------------


def unescaped(literal):
    return literal.replace("\\n", "\n").replace("\\t", "\t").replace('\\"', '"')


def program_texts(folder):
    """For each source file the texts that it holds, in their order, as one text."""
    texts = []
    for path in listed_files(folder):
        content = (folder / path).read_text(encoding="utf-8") if path.startswith("src/") else ""
        if path.endswith(".cpp"):
            content = re.sub(r"^\s*//.*$", "", content, flags=re.MULTILINE).replace("'\"'", "")
            # Neighbouring literals are one text; what stands between others varies.
            joined = re.sub(r'"\s*\n?\s*(?:u|u8)?"', "", content)
            texts.append("\0".join(unescaped(text) for text in STRING.findall(joined)))
        elif path.endswith(".ui"):
            texts.append("\0".join(html.unescape(text)
                                   for text in re.findall(r"<string[^>]*>([^<]*)<", content)))
    return texts


def is_said_by(quoted, texts):
    """Whether a text of the program has the quoted text's fixed pieces, in their order."""
    pieces = [piece for piece in re.split(r"…", quoted) if len(piece.strip()) > 1]
    pattern = re.compile(".*?".join(map(re.escape, pieces)), re.DOTALL)
    return bool(pieces) and any(pattern.search(text) for text in texts)


def check_quotes(folder, path, text):
    if path not in QUOTING_DOCUMENTS:
        return
    prose = FENCE.sub("", text)
    quoted = re.findall(r'"([^"\n]*)"', re.sub(r"`[^`\n]*`", "", re.sub(r"\s*\n(?=\S)", " ", prose)))
    quoted += [span for line in re.findall(r"^#+ .*$", prose, re.MULTILINE)
               for span in re.findall(r"`([^`]*)`", line)]
    texts = program_texts(folder)
    for text_quoted in quoted:
        if text_quoted != "…" and not is_said_by(text_quoted, texts):
            yield f"{path}: the program does not say: {text_quoted}"


# --- Drawings ------------------------------------------------------------------------------------


def check_drawings(folder):
    for path in listed_files(folder):
        if not path.endswith(".dot"):
            continue
        picture = folder / (path[:-len("dot")] + "svg")
        shown = html.unescape(picture.read_text(encoding="utf-8")) if picture.is_file() else ""
        for label in re.findall(r'label="([^"]*)"', (folder / path).read_text(encoding="utf-8")):
            for line in label.split("\\n"):
                if f">{line}<" not in shown:
                    yield f"{path}: {picture.name} does not show: {line}; draw it again"


def main(arguments):
    with_commands = "--no-commands" not in arguments
    folders = [argument for argument in arguments if argument != "--no-commands"]
    folder = Path(folders[0] if folders else Path(__file__).parent.parent).resolve()
    documents = [path for path in listed_files(folder) if path.endswith(".md")]
    faults = list(check_drawings(folder))
    for path in documents:
        text = (folder / path).read_text(encoding="utf-8")
        faults += check_links(folder, path, text)
        faults += check_quotes(folder, path, text)
        if with_commands:
            faults += check_commands(folder, path, text)
    for fault in faults:
        print(fault, file=sys.stderr)
    if faults or not documents:
        sys.exit(f"{len(faults)} faults in {len(documents)} documents.")
    print(f"{len(documents)} documents checked.")


if __name__ == "__main__":
    main(sys.argv[1:])
