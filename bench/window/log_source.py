"""Runs on the lab's Mac: has the running program write user lines, so many a second, each "Device … updated.".

    log_source.py CONTROL-SOCKET PROFILE NAME LINES-PER-SECOND SECONDS

Each line is a request to give the profile this name. Prints one JSON document: when the first request was sent and the last
one answered, on the monotonic clock, and how many there were.
"""

import json
import socket
import sys
import time


def main():
    path, profile, name, rate, seconds = sys.argv[1:]
    request = json.dumps({"command": "rename", "profile": profile, "name": name}).encode() + b"\n"
    client = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    client.connect(path)
    answers = client.makefile("rb")
    begin = time.monotonic()
    number = int(float(rate) * float(seconds))
    for count in range(number):
        # By the clock, not one after the other: a late answer is made up for.
        time.sleep(max(0, begin + count / float(rate) - time.monotonic()))
        client.sendall(request)
        answer = json.loads(answers.readline())
        if "id" not in answer:
            sys.exit(f"the program refuses: {answer}")
    print(json.dumps({"begin": begin, "end": time.monotonic(), "lines": number}))


if __name__ == "__main__":
    main()
