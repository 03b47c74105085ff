#!/usr/bin/env python3
"""Loads a server of tools through its pipe, with a fixed number of requests in flight.

    load.py [--requests N] [--in-flight N] -- SERVER [ARGUMENT...]

Prints the time from start to the first answer, requests per second, the server's CPU time for each
request, and its resident memory after the first thousand requests and at the end.
"""

import argparse
import json
import os
import subprocess
import time

ARGUMENTS = {"query": "needle in a haystack", "mode": "regex", "limit": 50, "paths": ["src", "include", "tests"]}


def request(number):
    return json.dumps({"jsonrpc": "2.0", "id": number, "method": "tools/call",
                       "params": {"name": "search", "arguments": ARGUMENTS}}).encode() + b"\n"


def initialize():
    params = {"protocolVersion": "2025-11-25", "capabilities": {}, "clientInfo": {"name": "load", "version": "1"}}
    return json.dumps({"jsonrpc": "2.0", "id": "first", "method": "initialize", "params": params}).encode() + b"\n"


def cpu_seconds(pid):
    fields = open(f"/proc/{pid}/stat").read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def memory_kib(pid):
    return next(int(line.split()[1]) for line in open(f"/proc/{pid}/status") if line.startswith("VmRSS"))


def drive(server, count, in_flight, first):
    """Sends `count` requests, a new one for each answer; every answer must be a good one."""
    out, sent, answered, rest = server.stdin.fileno(), 0, 0, b""
    inp = server.stdout.fileno()
    while answered < count:
        room = min(in_flight - (sent - answered), count - sent)
        if room > 0:
            os.write(out, b"".join(request(first + sent + i) for i in range(room)))
            sent += room
        lines = (rest + os.read(inp, 1 << 20)).split(b"\n")
        rest = lines.pop()
        for line in lines:
            assert b"haystack regex 50 3" in line, line
        answered += len(lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--requests", type=int, default=100_000)
    parser.add_argument("--in-flight", type=int, default=1)
    parser.add_argument("server", nargs="+")
    options = parser.parse_args()

    start = time.perf_counter()
    server = subprocess.Popen(options.server, stdin=subprocess.PIPE, stdout=subprocess.PIPE, bufsize=0)
    server.stdin.write(initialize())
    assert b'"first"' in server.stdout.readline()
    first_answer = time.perf_counter() - start
    server.stdin.write(b'{"jsonrpc":"2.0","method":"notifications/initialized"}\n')

    drive(server, 1000, options.in_flight, 0)
    memory, cpu, start = memory_kib(server.pid), cpu_seconds(server.pid), time.perf_counter()
    drive(server, options.requests, options.in_flight, 1000)
    elapsed = time.perf_counter() - start
    cpu, memory_after = cpu_seconds(server.pid) - cpu, memory_kib(server.pid)
    server.stdin.close()
    server.wait(10)
    print(f"first answer {first_answer * 1e3:.1f} ms; {options.requests / elapsed:.0f} requests/s, "
          f"{cpu / options.requests * 1e6:.1f} us CPU each; memory {memory} KiB, then {memory_after} KiB")


if __name__ == "__main__":
    main()
