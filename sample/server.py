#!/usr/bin/env python3
"""The sample organisation's catalogue server.

    server.py --root FOLDER --port-file FILE [--slow-list FILE]

Serves FOLDER on 127.0.0.1, on a port that is free, and writes the port's number to the port file
once it listens. Files named in the slow list (paths below FOLDER, one a line) take about eight
seconds. Requests are noted on standard error. Ends on SIGTERM, and when its parent has ended.
"""

import argparse
import os
import shutil
import socketserver
import threading
import time
from functools import partial
from http.server import SimpleHTTPRequestHandler, ThreadingHTTPServer
from pathlib import Path

SLOW_SECONDS = 8.0
SLOW_CHUNKS = 80


class Handler(SimpleHTTPRequestHandler):
    """Serves files, some of them slowly."""

    slow_files = frozenset()  # resolved paths

    def copyfile(self, source, outputfile):
        # Called after the headers, which hold the right length in either case.
        try:
            if Path(self.translate_path(self.path)).resolve() in self.slow_files:
                self.trickle(source, outputfile)
            else:
                shutil.copyfileobj(source, outputfile)
        except ConnectionError:
            self.log_message("the client left: %s", self.path)

    @staticmethod
    def trickle(source, outputfile):
        size = os.fstat(source.fileno()).st_size
        while chunk := source.read(size // SLOW_CHUNKS + 1):
            outputfile.write(chunk)
            outputfile.flush()
            time.sleep(SLOW_SECONDS / SLOW_CHUNKS)


class Server(ThreadingHTTPServer):
    def server_bind(self):
        # Without HTTPServer's look-up of the host's name, which can take seconds off line.
        socketserver.TCPServer.server_bind(self)
        self.server_name, self.server_port = self.server_address[:2]


def end_with_parent():
    parent = os.getppid()
    while os.getppid() == parent:
        time.sleep(0.5)
    os._exit(0)


def main():
    parser = argparse.ArgumentParser(description="Serves the sample organisation's catalogue.")
    parser.add_argument("--root", type=Path, required=True, help="the folder to serve")
    parser.add_argument("--port-file", type=Path, required=True, help="where to write the port")
    parser.add_argument("--slow-list", type=Path, help="a file that names the slow files")
    arguments = parser.parse_args()
    if arguments.slow_list:
        names = arguments.slow_list.read_text(encoding="utf-8").splitlines()
        Handler.slow_files = frozenset((arguments.root / name).resolve() for name in names)

    with Server(("127.0.0.1", 0), partial(Handler, directory=str(arguments.root))) as server:
        threading.Thread(target=end_with_parent, daemon=True).start()
        # Renamed into place, so that a reader never sees half a number.
        unfinished = arguments.port_file.with_suffix(".new")
        unfinished.write_text(f"{server.server_port}\n", encoding="ascii")
        unfinished.replace(arguments.port_file)
        server.serve_forever()


if __name__ == "__main__":
    main()
