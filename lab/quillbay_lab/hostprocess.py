"""The lab's side of a host: its process 1, and the processes that run in it."""

import itertools
import json
import os
import pathlib
import signal
import socket
import subprocess
import sys
import threading

from .errors import LabError

_ANSWER_LIMIT_SECONDS = 20
_INIT = pathlib.Path(__file__).with_name("hostinit.py")


class HostProcess:
    """A process in a host. `pid` is its id in there."""

    def __init__(self, namespace, pid, argv):
        self._namespace = namespace
        self.pid = pid
        self.argv = argv
        self.stdin = None
        self.stdout = None
        self._code = None
        self._ended = threading.Event()

    @property
    def running(self):
        return not self._ended.is_set()

    def wait(self, limit_seconds):
        """The exit status, -N after signal N. Raises `LabError` when the process is still there after the limit."""
        if not self._ended.wait(limit_seconds):
            raise LabError(f"still running after {limit_seconds:g} s: {' '.join(self.argv)}")
        return self._code

    def signal(self, number):
        """Nothing happens once the process has ended."""
        self._namespace.request({"op": "signal", "pid": self.pid, "signal": int(number)})

    def end(self, limit_seconds=5):
        """Asks the process to end, makes it end after the limit, and returns its exit status."""
        self.signal(signal.SIGTERM)
        if not self._ended.wait(limit_seconds):
            self.signal(signal.SIGKILL)
        for stream in (self.stdin, self.stdout):
            if stream is not None:
                stream.close()
        return self.wait(limit_seconds)

    def _end_with(self, code):
        self._code = code
        self._ended.set()


class Namespace:
    """A set of new namespaces (network, mounts, process ids, host name, IPC) and its process 1."""

    def __init__(self, name, mounts):
        self.name = name
        self._lock = threading.Lock()
        self._ids = itertools.count(1)
        self._answers = {}
        self._waiting = {}
        self._processes = {}
        self._channel, theirs = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        with theirs:
            settings = json.dumps({"name": name, "mounts": mounts})
            # A session of its own: Ctrl-C is for the lab, which then ends its hosts in order.
            self._holder = subprocess.Popen(
                ["unshare", "--net", "--mount", "--uts", "--ipc", "--pid", "--fork", "--kill-child",
                 "--mount-proc", sys.executable, "-I", str(_INIT), str(theirs.fileno()), settings],
                pass_fds=[theirs.fileno()], start_new_session=True, stdin=subprocess.DEVNULL)
        self._channel.settimeout(_ANSWER_LIMIT_SECONDS)
        try:
            ready = self._channel.recv(4096)
        except TimeoutError:
            ready = b""
        if not ready:
            self.close()
            raise LabError(f"the namespaces of host {name} could not be made (is this root?)")
        self._channel.settimeout(None)
        self._reader = threading.Thread(target=self._read, name=f"lab-{name}", daemon=True)
        self._reader.start()

    @property
    def network(self):
        """The path of the network namespace, and the process id by which ip(8) finds it."""
        return f"/proc/{self._holder.pid}/ns/net", self._holder.pid

    def spawn(self, argv, environment, directory, descriptors):
        argv = [str(argument) for argument in argv]
        message = {"op": "spawn", "argv": argv, "env": environment, "cwd": str(directory)}
        answer = self.request(message, descriptors, started=argv)
        if "errno" in answer:
            raise OSError(answer["errno"], os.strerror(answer["errno"]), argv[0])
        return answer["process"]

    def request(self, message, descriptors=(), started=None):
        """Sends a request to process 1 and returns its answer."""
        number = next(self._ids)
        done = threading.Event()
        with self._lock:
            self._waiting[number] = (done, started)
            try:
                socket.send_fds(self._channel, [json.dumps({**message, "id": number}).encode()], list(descriptors))
            except OSError as error:
                raise LabError(f"host {self.name} is gone: {error}") from error
        if not done.wait(_ANSWER_LIMIT_SECONDS):
            raise LabError(f"host {self.name} does not answer")
        return self._answers.pop(number)

    def close(self):
        """Ends the host and everything in it. May be called twice."""
        try:
            # Wakes the reading thread too, which a close alone would not.
            self._channel.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        try:
            self._holder.wait(5)
        except subprocess.TimeoutExpired:
            self._holder.kill()
            self._holder.wait()
        if hasattr(self, "_reader"):
            self._reader.join()
        self._channel.close()

    def _read(self):
        while True:
            try:
                data = self._channel.recv(4096)
            except OSError:
                data = b""
            if not data:
                break
            self._take(json.loads(data))
        with self._lock:
            for number, (done, _) in self._waiting.items():
                self._answers[number] = {"errno": 3}
                done.set()
            for process in self._processes.values():
                process._end_with(-signal.SIGKILL)

    def _take(self, message):
        with self._lock:
            if "exited" in message:
                self._processes.pop(message["exited"])._end_with(message["code"])
                return
            done, started = self._waiting.pop(message["id"])
            if "pid" in message:
                message["process"] = HostProcess(self, message["pid"], started)
                self._processes[message["pid"]] = message["process"]
            self._answers[message["id"]] = message
            done.set()
