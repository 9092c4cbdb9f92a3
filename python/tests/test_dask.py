"""Dask: a LocalCluster of two worker processes renders generated files
bit-identically to a local render, and a worker killed mid-run loses no file."""

import os
import signal
import threading
import time
import wave

import numpy as np
import pytest

import veltrax

distributed = pytest.importorskip("distributed")
import veltrax.dask  # noqa: E402


def write_wav(path, seconds, rate, channels, seed):
    rng = np.random.default_rng(seed)
    t = np.arange(int(seconds * rate)) / rate
    x = 0.3 * np.sin(2 * np.pi * (80 + 40 * seed) * t)[:, None] + 0.01 * rng.standard_normal(
        (t.size, channels))
    with wave.open(str(path), "wb") as w:
        w.setnchannels(channels)
        w.setsampwidth(2)
        w.setframerate(rate)
        w.writeframes((x * 32767).astype("<i2").tobytes())


@pytest.fixture(scope="module")
def cluster():
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as c, distributed.Client(c) as client:
        yield client


def test_cluster_render_matches_local_and_survives_a_killed_worker(cluster, tmp_path):
    inputs = []
    for i in range(8):
        inputs.append(tmp_path / f"take{i}.wav")
        write_wav(inputs[-1], 2.0 + 0.5 * i, (44100, 48000)[i % 2], 1 + i % 2, i)
    settings = {"preset": "classic-fuzz", "tone": 0.3}
    local = veltrax.render_files(inputs, tmp_path / "local", settings)
    assert all(r["status"] == "rendered" for r in local)

    # Kill one worker process as soon as the first output appears.
    outdir = tmp_path / "cluster"
    killed = threading.Event()
    worker_pid = sorted(cluster.run(os.getpid).values())[0]

    def kill_first_worker():
        while not (outdir.exists() and any(outdir.iterdir())):
            time.sleep(0.01)
        os.kill(worker_pid, signal.SIGKILL)
        killed.set()

    threading.Thread(target=kill_first_worker, daemon=True).start()
    results = veltrax.dask.render_files(cluster, inputs, outdir, settings)
    assert killed.is_set()
    assert [r["status"] for r in results] == ["rendered"] * len(inputs)
    for path in inputs:
        assert (outdir / path.name).read_bytes() == (tmp_path / "local" / path.name).read_bytes()
    # A second run finds every output and renders nothing.
    again = veltrax.dask.render_files(cluster, inputs, outdir, settings)
    assert [r["status"] for r in again] == ["skipped"] * len(inputs)
