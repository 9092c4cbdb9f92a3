"""How much two Python threads gain over one with the GIL released (not a
test: speed is measured, never asserted). Run from the source tree:

    PYTHONPATH=build/release/python /usr/bin/python3 bench/python_threads.py

Prints wall times of the same work (pedals over ten seconds of audio each,
and process_batch over 32 streams) on one thread and on two.
"""

import threading
import time

import numpy as np

import veltrax

RATE = 48000


def best_of(runs, work):
    times = []
    for _ in range(runs):
        start = time.perf_counter()
        work()
        times.append(time.perf_counter() - start)
    return min(times)


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
    signals = [0.1 * rng.standard_normal(10 * RATE) for _ in range(4)]
    one = best_of(3, lambda: pedals_on_threads(signals, 1))
    two = best_of(3, lambda: pedals_on_threads(signals, 2))
    print(f"Pedal.process, 4 x 10 s: 1 thread {one:.3f} s, 2 threads {two:.3f} s, "
          f"speed-up {one / two:.2f}x")
    streams = [0.1 * rng.standard_normal(2 * RATE) for _ in range(32)]
    one = best_of(3, lambda: veltrax.process_batch(streams, RATE, threads=1))
    two = best_of(3, lambda: veltrax.process_batch(streams, RATE, threads=2))
    print(f"process_batch, 32 x 2 s: 1 thread {one:.3f} s, 2 threads {two:.3f} s, "
          f"speed-up {one / two:.2f}x (kernel {veltrax._veltrax.KERNEL})")


if __name__ == "__main__":
    main()
