"""How much two Python threads gain over one with the GIL released (not a
test: speed is measured, never asserted). Run from the source tree:

    PYTHONPATH=build/release/python /usr/bin/python3 bench/python_threads.py

Prints the best wall times of the same work (pedals over thirty seconds of
audio each, and process_batch over 32 streams), one thread and two in turns.
"""

import threading
import time

import numpy as np

import veltrax

RATE = 48000


def best_of(runs, one, two):
    """Best wall times of `one` and `two`, run in turns so that a change in
    the machine's load meets both alike."""
    best = [float("inf"), float("inf")]
    for _ in range(runs):
        for k, work in enumerate((one, two)):
            start = time.perf_counter()
            work()
            best[k] = min(best[k], time.perf_counter() - start)
    return best


def pedals_on_threads(signals, threads):
    def run(chunk):
        for x in chunk:
            veltrax.Pedal(RATE).process(x)

    workers = [threading.Thread(target=run, args=(signals[t::threads],)) for t in range(threads)]
    for w in workers:
        w.start()
    for w in workers:
        w.join()


def main():
    rng = np.random.default_rng(1)
    signals = [0.1 * rng.standard_normal(30 * RATE) for _ in range(4)]
    one, two = best_of(7, lambda: pedals_on_threads(signals, 1),
                       lambda: pedals_on_threads(signals, 2))
    print(f"Pedal.process, 4 x 30 s: 1 thread {one:.3f} s, 2 threads {two:.3f} s, "
          f"speed-up {one / two:.2f}x")
    streams = [0.1 * rng.standard_normal(6 * RATE) for _ in range(32)]
    one, two = best_of(7, lambda: veltrax.process_batch(streams, RATE, threads=1),
                       lambda: veltrax.process_batch(streams, RATE, threads=2))
    print(f"process_batch, 32 x 6 s: 1 thread {one:.3f} s, 2 threads {two:.3f} s, "
          f"speed-up {one / two:.2f}x (kernel {veltrax._veltrax.KERNEL})")


if __name__ == "__main__":
    main()
