"""Nodes of real processes for the browser's tests: key store, simulated devices, daemon and gateway."""

import contextlib
import http.server
import json
import os
import pathlib
import re
import shutil
import socket
import subprocess
import tempfile
import threading

from driver import await_that

BIN = pathlib.Path(os.environ["LUMORA_BIN_DIR"])
SOURCE = pathlib.Path(os.environ["LUMORA_SOURCE_DIR"])
TAGS = {"REDIS_CONF_HASH_TAG": "{conf}", "REDIS_DATA_HASH_TAG": "{data}"}
# What the node's other services write.
SEEDS = {"{data}:qz:status": "ok", "{conf}:qz:mounts": "/mnt/qz", "{data}:nx/system/info:data/swVersion": "R1.0"}


class _Elsewhere(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.send_response(200)
        self.send_header("Content-Type", "text/html")
        self.end_headers()
        self.wfile.write(b"<!doctype html><title>elsewhere</title><body>")

    def log_message(self, *_):
        pass


@contextlib.contextmanager
def other_origin():
    """The address of a page of somebody else's."""
    with http.server.ThreadingHTTPServer(("127.0.0.1", 0), _Elsewhere) as server:
        threading.Thread(target=server.serve_forever).start()
        try:
            yield f"http://127.0.0.1:{server.server_port}/"
        finally:
            server.shutdown()


class Tree:
    """One call on a connection of its own."""

    def __init__(self, path):
        self._path = str(path)

    def call(self, method, **params):
        with socket.socket(socket.AF_UNIX) as link:
            link.settimeout(20)
            link.connect(self._path)
            link.sendall(json.dumps({"jsonrpc": "2.0", "id": 1, "method": method, "params": params}).encode() + b"\n")
            answer = json.loads(link.makefile().readline())
        if "error" in answer:
            raise RuntimeError(answer["error"]["message"])
        return answer["result"]

    def get(self, path):
        return self.call("get", path=path)[path]

    def set(self, path, value):
        self.call("set", path=path, value=value)

    def run(self, path, args):
        return self.call("run", path=path, args=args)

    def knows(self, path):
        try:
            self.get(path)
            return True
        except (OSError, RuntimeError):
            return False


class Node:
    def __init__(self, product="orvalite"):
        self._product = product
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="lumora-page-"))
        self._processes = {}
        self.daemon = Tree(self.folder / "tmp/device_managers/lumora")
        self.plant = Tree(self.folder / "tmp/nexels/sim")
        store = self.folder / "kvs.sock"
        self._environment = {**os.environ, **TAGS, "NX_ROOT": str(self.folder), "KVS_URL": f"unix://{store}"}
        try:
            self._bring_up(store)
        except BaseException:
            self.close()
            raise

    def _bring_up(self, store):
        self._start("redis-server", "--port", "0", "--unixsocket", str(store), "--save", "", "--dir", str(self.folder))
        await_that("the key store", store.exists)
        for key, value in SEEDS.items():
            subprocess.run(["redis-cli", "-s", str(store), "SET", key, value], check=True, stdout=subprocess.DEVNULL)
        self._start(BIN / "lumora_sim", SOURCE / f"sim/topologies/{self._product}.json", "--board")
        await_that("the plant", lambda: "ready: " in self.output("lumora_sim"))
        self.start_daemon()
        self.configure()
        self._start(BIN / "lumora_gateway", "--listen", "127.0.0.1:0", "--page", SOURCE / "gateway/page", "--lab",
                    "unix:/tmp/nexels/sim")
        found = await_that("the gateway", lambda: re.search(r"Serving (\S+)\n", self.output("lumora_gateway")))
        self.address = found[1]

    def _start(self, program, *arguments):
        name = pathlib.Path(program).name
        with open(self.folder / f"{name}.log", "ab") as log:
            self._processes[name] = subprocess.Popen(
                [str(program), *map(str, arguments)], env=self._environment, stdout=log, stderr=log)

    def pid(self, name):
        return self._processes[name].pid

    def output(self, name):
        return (self.folder / f"{name}.log").read_text(errors="replace")

    def start_daemon(self):
        self._start(BIN / "lumora_manager", "--product", self._product, "--interface_name", "none0")

    def configure(self):
        ready = "config/redisConfigStatus"
        await_that("the daemon", lambda: self.daemon.knows(ready))
        self.daemon.set(ready, True)

    def kill_daemon(self):
        self._processes["lumora_manager"].kill()
        self._processes["lumora_manager"].wait()

    def add_channels(self, count, width):
        for number in range(count):
            center = 19210000 - 80000 + 5000 + number * width
            self.daemon.run("command/channel/add", {"center": center, "width": width, "port": 2})
            self.daemon.set(f"config/client/{center}/rx/opticalControlMode", "power")

    def close(self):
        for process in reversed(self._processes.values()):
            process.terminate()
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        shutil.rmtree(self.folder, ignore_errors=True)


class Lab:
    """What `./lab --web` starts, with as many pages as it has nodes."""

    def __init__(self, *arguments, nodes=1):
        self._lab = subprocess.Popen(
            [str(BIN / "lumora_lab"), "--web", *arguments], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.pages = []
        said = ""
        for line in self._lab.stdout:
            said += line
            if found := re.match(r"lab folder (\S+)", line):
                self.plant = Tree(f"{found[1]}/node/tmp/nexels/sim")
            if found := re.match(r"(?:far )?page +(\S+)", line):
                self.pages.append(found[1])
            if len(self.pages) == nodes:
                break
        if len(self.pages) < nodes:
            raise AssertionError(f"the lab does not serve {nodes} pages:\n{said}")
        # It goes on telling; nobody reads it.
        self._reader = subprocess.Popen(["cat"], stdin=self._lab.stdout, stdout=subprocess.DEVNULL)

    def close(self):
        self._lab.terminate()
        self._lab.wait()
        self._reader.wait()
