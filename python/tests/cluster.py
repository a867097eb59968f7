"""Tests lots on a Dask cluster: two worker processes, of which one is killed half way, give the figures of blnits lot
on one machine. Prints the time of a pass with one worker and with two.

Usage: cluster.py GENERATE SAMPLE FOLDER [UNITS]; needs BLNITS_TOOL and BACKLIGHT_NITS_LIBRARY.
"""

import functools
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import threading
import time

import distributed
import numpy as np

from backlight_nits import lot

BROKEN = 10
KILLED = []  # The processes of workers.


def main():
    generate, sample, folder = sys.argv[1:4]
    units = int(sys.argv[4]) if len(sys.argv) > 4 else 20000
    shutil.rmtree(folder, ignore_errors=True)
    digits = len(str(units))
    names = [f"u{units // part:0{digits}}" for part in (3, 2)]
    options = ["--too-bright", names[0], "--swapped", names[1], "--broken", str(BROKEN)]
    subprocess.run([sys.executable, generate, sample, str(units), folder, *options], check=True)
    paths = sorted(map(str, pathlib.Path(folder).iterdir()))
    try:
        check(paths, units, of_tool(folder))
    finally:
        shutil.rmtree(folder)


def of_tool(folder):
    started = time.perf_counter()
    command = [os.environ["BLNITS_TOOL"], "lot", folder, "--partial"]
    done = subprocess.run(command, check=True, capture_output=True)
    print(f"blnits lot: {time.perf_counter() - started:.1f} s")
    return lot.Summary.from_json(done.stdout)


def check(paths, units, expected):
    seconds = {}
    for workers in (1, 2):
        with distributed.LocalCluster(n_workers=workers, threads_per_worker=1, dashboard_address=None) as cluster:
            with distributed.Client(cluster) as client:
                client.run(functools.partial(__import__, "backlight_nits.lot"))
                started = time.perf_counter()
                found = lot.distributed(paths, client)
                seconds[workers] = time.perf_counter() - started
        compare(found, expected)
        print(f"{workers} workers: {seconds[workers]:.1f} s, {units / seconds[workers]:.0f} units a second")
    print(f"two workers take {seconds[2] / seconds[1]:.2f} of the time of one")
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None) as cluster:
        with distributed.Client(cluster) as client:
            victim = threading.Timer(seconds[2] / 2, kill_a_worker, [cluster])
            victim.start()
            compare(lot.distributed(paths, client), expected)
            victim.join()
            assert len(KILLED) == 1, "the worker was to be killed while it worked"
    print(f"worker {KILLED[0]} was killed half way: the same figures")


def kill_a_worker(cluster):
    nanny = next(iter(cluster.workers.values()))
    if any(worker.processing for worker in cluster.scheduler.workers.values()):
        KILLED.append(nanny.process.process.pid)
        os.kill(KILLED[0], signal.SIGKILL)


def compare(found, expected):
    assert found.rejected.count == expected.rejected.count == BROKEN
    assert list(found.rejected.first) == list(expected.rejected.first)
    a, b = (json.loads(summary.to_json()) for summary in (found, expected))
    for key in ("range", "units", "gamma", "pcc_thresh", "linear_table", "names"):
        assert a[key] == b[key], key
    for name, table in a["tables"].items():
        other = b["tables"][name]
        for key in ("levels", "sketch", "darkest", "brightest"):
            assert table[key] == other[key], key
        for key in ("sums", "least", "greatest"):
            assert table["nits"][key] == other["nits"][key], key
        assert table["jnd"]["counts"] == other["jnd"]["counts"]
        sums = [[terms[0] for terms in each["jnd"]["sums"]] for each in (table, other)]
        np.testing.assert_allclose(*sums, rtol=1e-9)
        for what in ("nits", "jnd"):
            np.testing.assert_allclose(table[what]["squares"], other[what]["squares"], rtol=1e-9)


if __name__ == "__main__":
    main()
