#!/usr/bin/env python3
"""Runs the tests of a GoogleTest program in one process, and goes on where a test brings it down.

usage: run_tests.py PROGRAM [--share K/N] [--filter PATTERN]

Of the program's tests, those that PATTERN names, the K-th of N shares of them. A test that crashes,
or says nothing for five minutes, fails, and the tests behind it get a process of their own. Prints
what the failed tests said, why others were skipped, and how many there were.
"""

import argparse
import queue
import re
import subprocess
import sys
import threading

PATIENCE = 300  # seconds without a word
RESULT = re.compile(r"\[( RUN      |       OK |  FAILED  |  SKIPPED )\] (\S+?)(?:,| \(|$)")


def names_of(program, pattern):
    listed = subprocess.run([program, "--gtest_list_tests", f"--gtest_filter={pattern}"],
                            stdout=subprocess.PIPE, check=True, text=True).stdout
    names = []
    suite = ""
    for line in listed.splitlines():
        words = line.split("#")[0].split()
        if words and not line.startswith(" "):
            suite = words[0]
        elif words and "DISABLED_" not in suite + words[0]:
            names.append(suite + words[0])
    return names


class Run:
    """One process: what became of its tests, and the one that it ended in."""

    def __init__(self, program, names):
        self.results = {}
        self.said = {}
        self.under_way = None
        self.remarks = []  # said outside of tests
        self.complaint = self._play(program, names)

    def _play(self, program, names):
        process = subprocess.Popen(
            [program, f"--gtest_filter={':'.join(names)}", "--gtest_color=no"],
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
        lines = queue.Queue()

        def read():
            for line in process.stdout:
                lines.put(line)
            lines.put(None)

        threading.Thread(target=read, daemon=True).start()
        while True:
            try:
                line = lines.get(timeout=PATIENCE)
            except queue.Empty:
                process.kill()
                process.wait()
                return f"said nothing for {PATIENCE} seconds"
            if line is None:
                break
            self._take(line.decode(errors="replace"))
        status = process.wait()
        if status == 0 or (self.under_way is None and "FAILED" in self.results.values()):
            return None
        return f"ended by signal {-status}" if status < 0 else f"ended with {status}"

    def _take(self, line):
        # A test may have left its last line open.
        match = RESULT.search(line)
        word = match.group(1).strip() if match else None
        if word == "RUN":
            self.under_way = match.group(2)
            self.said[self.under_way] = []
        elif self.under_way is None:
            self.remarks.append(line)
        else:
            self.said[self.under_way].append(line)
            if word and match.group(2) == self.under_way:
                self.results[self.under_way] = word
                self.under_way = None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("--share", default="1/1")
    parser.add_argument("--filter", default="*")
    arguments = parser.parse_args()
    share, shares = map(int, arguments.share.split("/"))

    names = names_of(arguments.program, arguments.filter)[share - 1::shares]
    if not names:
        sys.exit(f"{arguments.program} has no tests like {arguments.filter}")
    passed, skipped, failed = [], [], []
    while names:
        run = Run(arguments.program, names)
        if run.complaint:
            culprit = run.under_way
            if culprit is None:  # before its first test or behind its last
                sys.stdout.writelines(run.remarks)
                failed.append(f"the program {run.complaint}")
            else:
                run.results[culprit] = "FAILED"
                run.said[culprit].append(f"{culprit} {run.complaint}\n")
        for name, result in run.results.items():
            if result == "OK":
                passed.append(name)
                continue
            print(f"{result} {name}")
            sys.stdout.writelines(run.said[name])
            (skipped if result == "SKIPPED" else failed).append(name)
        left = [name for name in names if name not in run.results]
        if len(left) == len(names) or (left and not run.complaint):
            failed.append(f"{len(left)} tests did not run, as {left[0]}")
            break
        names = left
    print(f"{len(passed)} passed, {len(skipped)} skipped, {len(failed)} failed")
    for name in failed:
        print(f"failed: {name}")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
