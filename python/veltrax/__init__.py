"""VELTRAX, a fuzz pedal circuit model, on numpy arrays.

    >>> import numpy as np, veltrax
    >>> pedal = veltrax.Pedal(48000, sustain=0.7, tone=0.4, volume=0.8)
    >>> y = pedal.process(np.zeros(48000))          # float64 in, float64 out
    >>> ys = veltrax.process_batch([a, b, c], 48000, {"preset": "doom"}, threads=2)

Audio is float64 (float32 is converted once), shaped (frames,) or
(channels, frames). Knobs run 0..1; ``veltrax.dial(7)`` turns the pedal's
0..10 dial into that range, or pass ``scale=10`` to work in dial units.
"""

import math
import numbers
import os
import struct

from . import _veltrax

__all__ = ["Pedal", "process_batch", "render_file", "render_files", "presets", "dial", "KNOBS"]

KNOBS = ("sustain", "tone", "volume")
_INDEX = {"sustain": _veltrax.SUSTAIN, "tone": _veltrax.TONE, "volume": _veltrax.VOLUME}
_SETTING_KEYS = KNOBS + ("on", "preset")


def dial(position, scale=10):
    """The knob value (0..1) of a dial position on a 0..``scale`` dial."""
    return _checked_knob("dial", position, scale) / scale


def presets():
    """The named knob settings: {name: {"label", "sustain", "tone", "volume"}}, 0..1."""
    return {
        name: {"label": label, "sustain": _shortest(sustain), "tone": _shortest(tone),
               "volume": _shortest(volume)}
        for name, (label, sustain, tone, volume) in _veltrax.PRESETS.items()
    }


def _shortest(knob):
    """The shortest decimal that is the same single-precision knob value (the
    module's knobs are 32-bit floats): 0.55 rather than 0.550000011920929."""
    single = struct.pack("f", knob)
    for digits in range(1, 10):
        decimal = float(f"{knob:.{digits}g}")
        if struct.pack("f", decimal) == single:
            return decimal
    return knob


def _preset(name):
    try:
        return presets()[name]
    except (KeyError, TypeError):
        raise KeyError(
            f"unknown preset {name!r}; known presets: {', '.join(sorted(_veltrax.PRESETS))}"
        ) from None


def _checked_knob(name, value, scale):
    if isinstance(value, bool) or not isinstance(value, numbers.Real):
        raise TypeError(f"{name} must be a number, got {type(value).__name__}")
    value = float(value)
    if not (0.0 <= value <= scale):
        raise ValueError(f"{name} must be between 0 and {scale:g}, got {value!r}")
    return value


def _gain(name, decibels):
    if isinstance(decibels, bool) or not isinstance(decibels, numbers.Real):
        raise TypeError(f"{name} must be a number of dB, got {type(decibels).__name__}")
    if not math.isfinite(decibels) or abs(decibels) > 120:
        raise ValueError(f"{name} must be a finite level within +-120 dB, got {decibels!r}")
    return 10.0 ** (decibels / 20.0)


def _knob_values(settings, scale):
    """(sustain, tone, volume, on) from a settings dict, preset first, knobs over it."""
    if not isinstance(settings, dict):
        raise TypeError(f"settings must be a dict, got {type(settings).__name__}")
    unknown = sorted(set(settings) - set(_SETTING_KEYS))
    if unknown:
        raise ValueError(f"unknown setting {unknown[0]!r}; settings are {', '.join(_SETTING_KEYS)}")
    values = {"sustain": 0.5, "tone": 0.5, "volume": 0.5}
    if settings.get("preset") is not None:
        values.update({k: v for k, v in _preset(settings["preset"]).items() if k in KNOBS})
    for knob in KNOBS:
        if knob in settings:
            values[knob] = _checked_knob(knob, settings[knob], scale) / scale
    return values["sustain"], values["tone"], values["volume"], bool(settings.get("on", True))


class Pedal:
    """One stateful pedal at one sample rate.

    Each ``process`` call hands the effect consecutive blocks of
    ``block_size`` frames (the last one shorter) and continues where the last
    call stopped; knob changes made between calls take effect at the next
    call's first block, as a plug-in host's do. One effect instance runs per
    channel. With ``preroll`` the pedal first runs one block of silence, so
    the knobs have settled before the first sample. ``input_gain`` and
    ``output_gain`` are in dB. With ``scale=10`` knob values are dial
    positions 0..10 instead of 0..1.
    """

    def __init__(self, sample_rate, sustain=None, tone=None, volume=None, on=True, preset=None,
                 block_size=512, input_gain=0.0, output_gain=0.0, preroll=True, scale=1):
        if isinstance(block_size, bool) or not isinstance(block_size, numbers.Integral):
            raise TypeError("block_size must be an integer")
        if isinstance(sample_rate, bool) or not isinstance(sample_rate, numbers.Real):
            raise TypeError("sample_rate must be a number of Hz")
        if isinstance(scale, bool) or not isinstance(scale, numbers.Real) or not scale > 0:
            raise ValueError("scale must be a positive number")
        self._scale = float(scale)
        self._core = _veltrax.PedalCore(float(sample_rate), int(block_size), bool(preroll))
        self._input_gain = _gain("input_gain", input_gain)
        self._output_gain = _gain("output_gain", output_gain)
        settings = {"on": on, "preset": preset}
        settings.update({k: v for k, v in (("sustain", sustain), ("tone", tone), ("volume", volume))
                         if v is not None})
        sustain, tone, volume, on = _knob_values(settings, self._scale)
        self._core.set_knob(_veltrax.SUSTAIN, sustain)
        self._core.set_knob(_veltrax.TONE, tone)
        self._core.set_knob(_veltrax.VOLUME, volume)
        self.on = on

    sample_rate = property(lambda self: self._core.sample_rate, doc="Sample rate, Hz.")
    block_size = property(lambda self: self._core.block_size, doc="Frames per effect block.")

    def _knob(name):
        index = _INDEX[name]

        def get(self):
            return _shortest(self._core.knob(index)) * self._scale

        def set(self, value):
            self._core.set_knob(index, _checked_knob(name, value, self._scale) / self._scale)

        return property(get, set, doc=f"The {name} knob (0..1, or 0..scale).")

    sustain = _knob("sustain")
    tone = _knob("tone")
    volume = _knob("volume")
    del _knob

    @property
    def on(self):
        """The On/Off switch; a change cross-fades over 16 ms."""
        return self._core.knob(_veltrax.ON_OFF) == 1.0

    @on.setter
    def on(self, value):
        self._core.set_knob(_veltrax.ON_OFF, 1.0 if value else 0.0)

    def reset(self):
        """Forget all audio: the next call starts like a new pedal (knobs kept)."""
        self._core.reset()

    def process(self, x, out=None):
        """Process float64/float32 audio shaped (frames,) or (channels, frames).

        Returns float64 audio of the same shape, or writes into ``out`` (a
        C-contiguous float64 array of that shape; ``out=x`` works in place).
        C-contiguous float64 input is read where it lies, without a copy.
        """
        import numpy as np

        if not isinstance(x, np.ndarray):
            raise TypeError(f"audio must be a numpy array, got {type(x).__name__}")
        if self._input_gain != 1.0:
            x = x * self._input_gain
        y = self._core.process(x, out)
        if self._output_gain != 1.0:
            y *= self._output_gain
        return y

    def __repr__(self):
        return (f"Pedal({self.sample_rate:g}, sustain={self.sustain:g}, tone={self.tone:g}, "
                f"volume={self.volume:g}, on={self.on})")


def process_batch(arrays, sample_rate, settings=None, threads=1, block_size=512, preroll=True,
                  scale=1):
    """Process many independent streams through the multi-stream engine.

    ``arrays``: a sequence of arrays shaped (frames,) or (channels, frames);
    every channel is a stream of its own. ``settings``: None, one dict for
    all, or one dict per array, with keys sustain, tone, volume, on and
    preset. Runs on ``threads`` threads with the GIL released and returns a
    list of float64 arrays, each equal to what ``Pedal(sample_rate,
    **settings, block_size=block_size, preroll=preroll).process(a)`` gives.
    """
    import numpy as np

    arrays = list(arrays)
    for a in arrays:
        if not isinstance(a, np.ndarray):
            raise TypeError(f"audio must be a numpy array, got {type(a).__name__}")
    if settings is None or isinstance(settings, dict):
        settings = [settings or {}] * len(arrays)
    settings = list(settings)
    if len(settings) != len(arrays):
        raise ValueError(f"{len(settings)} settings for {len(arrays)} arrays")
    if isinstance(threads, bool) or not isinstance(threads, numbers.Integral):
        raise TypeError("threads must be an integer")
    knobs = [_knob_values(s, float(scale)) for s in settings]
    return _veltrax.process_batch(arrays, float(sample_rate), knobs, int(threads), int(block_size),
                                  bool(preroll))


def _module_path(module=None):
    """The plug-in module render_file loads: `module`, $VELTRAX_MODULE, or the
    one next to this package (build tree: <build>/veltrax.so; installed:
    <prefix>/lib/veltrax/veltrax.so)."""
    here = os.path.dirname(os.path.abspath(__file__))
    candidates = [module, os.environ.get("VELTRAX_MODULE"),
                  os.path.join(here, "..", "..", "veltrax.so"),
                  os.path.join(here, "..", "..", "..", "veltrax", "veltrax.so")]
    for path in candidates:
        if path and os.path.isfile(path):
            return os.path.normpath(path)
    raise FileNotFoundError("the plug-in module veltrax.so was not found; pass module= or set "
                            "VELTRAX_MODULE")


def _render_settings(settings, block_size, preroll, input_gain, output_gain, scale):
    _gain("input_gain", input_gain)
    _gain("output_gain", output_gain)
    return _veltrax.render_settings(_knob_values(settings or {}, float(scale)), int(block_size),
                                    bool(preroll), float(input_gain), float(output_gain))


def render_file(in_path, out_path, settings=None, block_size=512, force=False, module=None,
                scale=1, preroll=True, input_gain=0.0, output_gain=0.0):
    """Render one sound file through the pedal with the command-line host's
    file code (libsndfile): every channel through its own instance at the
    file's rate, the output written atomically in the input's format.

    ``settings``: a dict with sustain, tone, volume, on and preset; ``preroll``
    and the gains (dB) as for ``Pedal`` and ``veltrax render``. Raises
    FileNotFoundError for a missing input, FileExistsError when the output
    exists (unless ``force``), ValueError when the output is the input.
    Returns {"frames", "channels", "sample_rate", "seconds"}.
    """
    in_path, out_path = os.fspath(in_path), os.fspath(out_path)
    render = _render_settings(settings, block_size, preroll, input_gain, output_gain, scale)
    if not os.path.isfile(in_path):
        raise FileNotFoundError(f"input {in_path} does not exist")
    if os.path.exists(out_path) and os.path.samefile(in_path, out_path):
        raise ValueError(f"refusing to overwrite the input {in_path}")
    if os.path.exists(out_path) and not force:
        raise FileExistsError(f"output {out_path} exists (force=True replaces it)")
    return _veltrax.render_file(_module_path(module), in_path, out_path, render, bool(force))


def render_files(inputs, outdir, settings=None, block_size=512, force=False, jobs=1, scale=1,
                 preroll=True, input_gain=0.0, output_gain=0.0):
    """Render many files into ``outdir`` (same file names) with the
    command-line host's set rendering: the channels of files of one rate
    share the multi-stream engine's lanes, on ``jobs`` threads. Existing
    outputs are skipped unless ``force``, so an interrupted run resumes; one
    failure does not stop the others. Returns one entry per input:
    {"input", "output", "status"} with status "rendered", "skipped" or
    "failed: <reason>".
    """
    inputs = [os.fspath(p) for p in inputs]
    outdir = os.fspath(outdir)
    render = _render_settings(settings, block_size, preroll, input_gain, output_gain, scale)
    outputs = [os.path.join(outdir, os.path.basename(p)) for p in inputs]
    existed = [os.path.exists(o) and not force for o in outputs]
    failures = _veltrax.render_set(inputs, outdir, render, bool(force), int(jobs))
    results = []
    for in_path, out_path, skipped in zip(inputs, outputs, existed):
        reason = next((f[len(in_path) + 2:] for f in failures if f.startswith(in_path + ": ")), None)
        status = "skipped" if skipped else "rendered" if reason is None else f"failed: {reason}"
        results.append({"input": in_path, "output": out_path, "status": status})
    return results
