"""Rendering many files across machines with Dask distributed.

    from dask.distributed import Client
    import veltrax.dask
    client = Client("scheduler-host:8786")
    veltrax.dask.render_files(client, inputs, "/shared/out", {"preset": "doom"})

Each file is one task: a worker renders it with ``veltrax.render_files``
(the multi-stream engine, atomic output), so a worker that dies mid-file leaves nothing behind and
Dask runs the task again elsewhere; outputs that already exist are skipped,
so a whole run can simply be started again. Inputs and ``outdir`` must be
paths every worker can read and write (a shared file system), and every
worker needs the veltrax package importable (see python/README.md).
"""

import os

import veltrax


def _render_one(in_path, outdir, settings, block_size, force):
    # One file through the multi-stream engine (its channels share lanes).
    return veltrax.render_files([in_path], outdir, settings, block_size, force)[0]


def render_files(client, inputs, outdir, settings=None, block_size=512, force=False, retries=3):
    """Render ``inputs`` into ``outdir`` on the cluster behind ``client``.

    Returns one {"input", "output", "status"} per input, in order; status is
    "rendered", "skipped" (the output existed) or "failed: <reason>". A task
    lost with its worker is recomputed by Dask; ``retries`` more attempts
    cover tasks that raise on a worker.
    """
    inputs = [os.path.abspath(os.fspath(p)) for p in inputs]
    outdir = os.path.abspath(os.fspath(outdir))
    os.makedirs(outdir, exist_ok=True)
    futures = client.map(_render_one, inputs, outdir=outdir, settings=settings or {},
                         block_size=block_size, force=force, pure=False, retries=retries)
    return client.gather(futures)
