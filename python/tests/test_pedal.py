"""The Python package against the plug-in module driven through its record,
bit for bit; process_batch against per-stream pedals; zero copy; errors;
random inputs that must never crash the interpreter."""

import tracemalloc

import numpy as np
import pytest
from hypothesis import given, settings as hsettings, strategies as st

import veltrax
from module_host import ON_OFF, SUSTAIN, TONE, VOLUME, ModuleEffect


def plucks(channels, frames, rate, seed):
    rng = np.random.default_rng(seed)
    t = np.arange(frames) / rate
    tone = np.sin(2 * np.pi * 110 * (1 + np.arange(channels)[:, None]) * t) * np.exp(-3 * (t % 0.5))
    return 0.2 * tone + 1e-3 * rng.standard_normal((channels, frames))


def same_bits(a, b):
    return a.shape == b.shape and np.array_equal(a.view(np.uint64), b.view(np.uint64))


# Each row: rate, block size, pre-roll, channels, the frames of each process
# call, and the knob changes made before each call (knob, value).
SCENARIOS = [
    (48000, 512, True, 1, [4800], [{}]),
    (44100, 256, True, 2, [1000, 1, 3000, 700], [{}, {"tone": 0.9}, {"on": False}, {"sustain": 0.1}]),
    (96000, 64, False, 1, [129, 5000, 2], [{"volume": 0.2}, {"on": False}, {"on": True, "tone": 0.0}]),
    (32000, 1000, True, 3, [2500, 2500], [{"sustain": 1.0}, {"volume": 1.0, "tone": 0.3}]),
]
MODULE_INDEX = {"sustain": SUSTAIN, "tone": TONE, "volume": VOLUME}


@pytest.mark.parametrize("rate,block,preroll,channels,calls,changes", SCENARIOS)
def test_pedal_streams_like_the_module(rate, block, preroll, channels, calls, changes):
    pedal = veltrax.Pedal(rate, sustain=0.6, tone=0.4, volume=0.7, block_size=block, preroll=preroll)
    module = [ModuleEffect(rate) for _ in range(channels)]
    for fx in module:
        for knob, index in MODULE_INDEX.items():
            fx.knob(index, getattr(pedal, knob))
        fx.knob(ON_OFF, 1.0)
    x = plucks(channels, sum(calls), rate, seed=rate)
    start = 0
    for frames, change in zip(calls, changes):
        for knob, value in change.items():
            setattr(pedal, knob, value)
            for fx in module:
                fx.knob(ON_OFF if knob == "on" else MODULE_INDEX[knob], float(value))
        if preroll and start == 0:  # the pedal's pre-roll runs with the knobs of its first call
            for fx in module:
                fx.block(np.zeros(block))
        chunk = x[:, start:start + frames]
        got = pedal.process(chunk if channels > 1 else chunk[0])
        want = np.array([np.concatenate([fx.block(c[i:i + block]) for i in range(0, frames, block)])
                         for fx, c in zip(module, chunk)])
        assert same_bits(np.atleast_2d(got), want), f"call of {frames} frames differs"
        start += frames
    for fx in module:
        fx.close()


def test_process_batch_equals_one_pedal_per_stream():
    rate = 48000
    arrays = [plucks(1, n, rate, n)[0] for n in (100, 4800, 12345, 1, 7000, 9000, 3000, 2222, 5000)]
    arrays.append(plucks(2, 4000, rate, 9).astype(np.float32))
    settings = [{"preset": "doom"}, {"sustain": 0.2, "on": False}, {}, {"tone": 1.0},
                {"preset": "bright-lead", "volume": 0.3}] * 2
    for threads in (1, 2):
        got = veltrax.process_batch(arrays, rate, settings, threads=threads, block_size=256)
        for a, s, y in zip(arrays, settings, got):
            want = veltrax.Pedal(rate, block_size=256, **s).process(a)
            assert same_bits(y, want)


def test_float64_input_is_read_in_place_and_out_may_alias_it():
    pedal = veltrax.Pedal(48000)
    x = plucks(2, 1 << 19, 48000, 1)  # 8 MiB
    out = np.empty_like(x)
    tracemalloc.start()
    pedal.process(x, out=out)
    _, float64_peak = tracemalloc.get_traced_memory()
    tracemalloc.reset_peak()
    pedal.process(x.astype(np.float32), out=out)
    _, float32_peak = tracemalloc.get_traced_memory()
    tracemalloc.stop()
    assert float64_peak < x.nbytes // 8 < float32_peak  # no second input array; float32 converted once
    y = pedal.process(x, out=x)
    assert y.__array_interface__["data"][0] == x.__array_interface__["data"][0]


ERRORS = [
    (lambda: veltrax.Pedal(48000).process(np.zeros(10, dtype=np.int16)), TypeError, "float64"),
    (lambda: veltrax.Pedal(48000).process([0.0, 1.0]), TypeError, "numpy array"),
    (lambda: veltrax.Pedal(48000).process(np.zeros((1, 2, 3))), ValueError, "channels, frames"),
    (lambda: veltrax.Pedal(48000, sustain=1.5), ValueError, "between 0 and 1"),
    (lambda: veltrax.Pedal(48000, tone=7, scale=5), ValueError, "between 0 and 5"),
    (lambda: veltrax.Pedal(48000, preset="loud"), KeyError, "classic-fuzz"),
    (lambda: veltrax.Pedal(0), ValueError, "sample_rate"),
    (lambda: veltrax.Pedal(float("nan")), ValueError, "sample_rate"),
    (lambda: veltrax.Pedal(48000, block_size=0), ValueError, "block_size"),
    (lambda: veltrax.Pedal(48000, input_gain=float("inf")), ValueError, "input_gain"),
    (lambda: veltrax.Pedal(48000).process(np.zeros(8), out=np.zeros(9)), ValueError, "shape"),
    (lambda: veltrax.Pedal(48000).process(np.zeros(8), out=np.zeros(8, np.float32)), TypeError, "out"),
    (lambda: [p := veltrax.Pedal(48000), p.process(np.zeros((2, 8))), p.process(np.zeros(8))],
     ValueError, "reset()"),
    (lambda: veltrax.process_batch([np.zeros(8)], 48000, {"drive": 1}), ValueError, "drive"),
    (lambda: veltrax.process_batch([np.zeros(8)], 48000, [{}, {}]), ValueError, "2 settings"),
]


@pytest.mark.parametrize("call,error,words", ERRORS)
def test_bad_arguments_raise_clear_errors(call, error, words):
    with pytest.raises(error, match=words.replace("(", r"\(").replace(")", r"\)")):
        call()


def test_dial_and_scale_agree():
    assert veltrax.dial(7) == pytest.approx(0.7)
    pedal = veltrax.Pedal(48000, sustain=7, scale=10)
    assert pedal.sustain == pytest.approx(7) and pedal._core.knob(SUSTAIN) == pytest.approx(0.7)


def test_listed_preset_values_are_the_presets_knobs():
    x = plucks(1, 3000, 48000, seed=3)[0]
    for name, knobs in veltrax.presets().items():
        listed = {k: v for k, v in knobs.items() if k != "label"}
        assert all(len(repr(v)) <= 6 for v in listed.values()), (name, listed)
        assert same_bits(veltrax.Pedal(48000, preset=name).process(x),
                         veltrax.Pedal(48000, **listed).process(x)), name


finite_or_not = st.floats(allow_nan=True, allow_infinity=True, width=64)


@hsettings(max_examples=150, deadline=None)
@given(dtype=st.sampled_from([np.float64, np.float32, np.int32, np.complex128, object]),
       shape=st.lists(st.integers(0, 40), max_size=3), fill=finite_or_not,
       knob=finite_or_not, block=st.integers(-3, 70), rate=finite_or_not)
def test_random_arguments_return_audio_or_raise(dtype, shape, fill, knob, block, rate):
    try:
        pedal = veltrax.Pedal(rate, sustain=knob, block_size=block)
        x = np.full(shape, fill).astype(dtype)
        y = pedal.process(x)
        batch = veltrax.process_batch([x], rate, {"tone": knob}, block_size=block)
    except (TypeError, ValueError, KeyError):
        return
    assert y.dtype == np.float64 and y.shape == x.shape and batch[0].shape == x.shape
