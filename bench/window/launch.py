"""Prints the time of the monotonic clock and becomes the program that it is told.

    launch.py PROGRAM [ARGUMENT]...
"""

import os
import sys
import time

print(f"{time.monotonic():.6f}", flush=True)
os.execv(sys.argv[1], sys.argv[1:])
