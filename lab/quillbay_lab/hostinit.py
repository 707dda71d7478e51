"""Process 1 of a host: prepares its mounts, then starts and reaps processes for the lab that owns it.

Requests and answers are JSON datagrams on the socket whose descriptor is the first argument. When the lab's end of
that socket closes, for whatever reason, this process ends, and with it the kernel ends everything in the namespace.

    {"op": "spawn", "id", "argv", "env", "cwd"} + 3 descriptors  ->  {"id", "pid"} or {"id", "errno"}
    {"op": "signal", "id", "pid", "signal"}                      ->  {"id"}
    after the end of a spawned process                           ->  {"exited": pid, "code"}, -N for signal N
"""

import errno
import fcntl
import json
import os
import selectors
import signal
import socket
import subprocess
import sys
import termios

_LARGEST_REQUEST = 128 * 1024


def prepare(mounts):
    """Runs the mount commands of this host; each is a list of arguments of mount(8)."""
    for arguments in mounts:
        subprocess.run(["mount", *arguments], check=True)


def _become(request, descriptors, report):
    """In the new child: never returns."""
    try:
        os.setsid()
        for target, source in enumerate(descriptors):
            os.dup2(source, target)
        if os.isatty(0):
            # What is typed there, Ctrl-C above all, then reaches this process.
            fcntl.ioctl(0, termios.TIOCSCTTY, 0)
        # The report descriptor is closed by a successful exec, and tells of an unsuccessful one.
        os.closerange(3, report)
        os.closerange(report + 1, os.sysconf("SC_OPEN_MAX"))
        for number in (signal.SIGPIPE, signal.SIGCHLD, signal.SIGXFSZ, signal.SIGINT):
            signal.signal(number, signal.SIG_DFL)
        signal.pthread_sigmask(signal.SIG_SETMASK, ())
        os.chdir(request["cwd"])
        os.execvpe(request["argv"][0], request["argv"], request["env"])
    except OSError as error:
        os.write(report, str(error.errno).encode())
    finally:
        os._exit(127)


def spawn(request, descriptors):
    """Starts a process; returns (pid, 0) or (None, errno)."""
    read_end, write_end = os.pipe2(os.O_CLOEXEC)
    pid = os.fork()
    if pid == 0:
        _become(request, descriptors, write_end)
    os.close(write_end)
    with os.fdopen(read_end, "rb") as pipe:
        failure = pipe.read()
    if not failure:
        return pid, 0
    # Gone before the answer: whoever is told that there is no process finds none.
    os.waitpid(pid, 0)
    return None, int(failure)


class Init:
    """The loop of process 1. Single-threaded: what is forked here holds no locks."""

    def __init__(self, channel):
        self._channel = channel
        self._own = set()

    def run(self):
        wake_read, wake_write = os.pipe2(os.O_CLOEXEC | os.O_NONBLOCK)
        signal.set_wakeup_fd(wake_write)
        signal.signal(signal.SIGCHLD, lambda *_: None)
        selector = selectors.DefaultSelector()
        selector.register(self._channel, selectors.EVENT_READ)
        selector.register(wake_read, selectors.EVENT_READ)
        while True:
            for key, _ in selector.select():
                if key.fileobj is self._channel:
                    if not self._serve():
                        return
                else:
                    os.read(wake_read, 4096)
            self._reap()

    def _serve(self):
        try:
            data, descriptors, _, _ = socket.recv_fds(self._channel, _LARGEST_REQUEST, 3)
        except ConnectionError:
            return False
        if not data:
            return False
        request = json.loads(data)
        answer = {"id": request["id"]}
        if request["op"] == "spawn":
            pid, failure = spawn(request, descriptors)
            if pid is None:
                answer["errno"] = failure
            else:
                self._own.add(pid)
                answer["pid"] = pid
        elif request["pid"] in self._own:
            # Not reaped yet, so the id is still this process's.
            os.kill(request["pid"], request["signal"])
        for descriptor in descriptors:
            os.close(descriptor)
        self._tell(answer)
        return True

    def _reap(self):
        while True:
            try:
                pid, status = os.waitpid(-1, os.WNOHANG)
            except OSError as error:
                if error.errno == errno.ECHILD:
                    return
                raise
            if pid == 0:
                return
            if pid in self._own:
                self._own.discard(pid)
                self._tell({"exited": pid, "code": os.waitstatus_to_exitcode(status)})

    def _tell(self, message):
        try:
            self._channel.send(json.dumps(message).encode())
        except ConnectionError:
            # The lab is gone; the next read says so.
            pass


def main():
    settings = json.loads(sys.argv[2])
    prepare(settings["mounts"])
    socket.sethostname(settings["name"])
    channel = socket.socket(fileno=int(sys.argv[1]))
    channel.set_inheritable(False)
    try:
        channel.send(json.dumps({"ready": True}).encode())
    except ConnectionError:
        # The lab was taken down while this host was made.
        return
    Init(channel).run()


if __name__ == "__main__":
    main()
