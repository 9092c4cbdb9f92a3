#!/usr/bin/python3
"""Draws the VELTRAX measurement figures.

Usage: veltrax_plots.py DIR

Reads the tables `veltrax plot` writes into DIR and writes one PNG per table:
  tone_response.csv -> tone_response.png  small-signal gain vs frequency per tone setting
  level_curves.csv  -> level_curves.png   output vs input level per sustain setting
  riff_spectrum.csv -> riff_spectrum.png  demo riff spectrum, dry vs processed
  rate_response.csv -> rate_response.png  small-signal gain vs frequency per sample rate
  riff_levels.csv   -> riff_levels.png    demo riff output RMS vs input peak per sustain
A missing table is skipped; no table at all is an error.
"""
import csv
import math
import os
import sys

try:
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    from matplotlib.ticker import FuncFormatter
except ImportError as error:
    sys.exit(f"veltrax_plots: matplotlib is missing ({error}); install python3-matplotlib")


def read_table(path):
    """Returns (caption, x values, [(column name, values)]); empty cells are NaN.

    A first line starting with "#" is the caption: the settings the table was
    measured with."""
    with open(path, newline="") as handle:
        rows = list(csv.reader(handle))
    caption = ""
    if rows and rows[0] and rows[0][0].startswith("#"):
        caption = ",".join(rows[0]).lstrip("# ").strip()
        rows = rows[1:]
    header, body = rows[0], rows[1:]
    def number(cell):
        return float(cell) if cell else math.nan
    x = [number(row[0]) for row in body]
    columns = [(name, [number(row[i + 1]) for row in body]) for i, name in enumerate(header[1:])]
    return caption, x, columns


def hertz(value, _position):
    return f"{value / 1000:g}k" if value >= 1000 else f"{value:g}"


def frequency_axis(axes):
    axes.set_xscale("log")
    axes.set_xlim(20, 20000)
    axes.xaxis.set_major_formatter(FuncFormatter(hertz))
    axes.set_xlabel("frequency (Hz)")
    axes.grid(True, which="both", alpha=0.3)


def colours(count):
    cmap = plt.get_cmap("viridis")
    return [cmap(0.9 * i / max(count - 1, 1)) for i in range(count)]


def titled(axes, title, caption):
    axes.set_title(f"{title}\n{caption}" if caption else title)


def fit_top(axes, columns, span):
    """Shows `span` dB below the highest finite value, rounded up to 10 dB."""
    finite = [v for _, values in columns for v in values if math.isfinite(v)]
    if finite:
        top = math.ceil(max(finite) / 10) * 10
        axes.set_ylim(top - span, top + 5)


def frequency_responses(title, legend):
    """A drawing function for gain vs frequency, one curve per column."""
    def draw(table, out):
        caption, x, columns = table
        figure, axes = plt.subplots(figsize=(9, 5.5))
        for (name, values), colour in zip(columns, colours(len(columns))):
            axes.plot(x, values, label=name, color=colour, linewidth=1.8)
        frequency_axis(axes)
        fit_top(axes, columns, 70)
        axes.set_ylabel("gain (dB)")
        titled(axes, title, caption)
        axes.legend(title=legend, loc="lower left")
        figure.tight_layout()
        figure.savefig(out, dpi=110)
    return draw


def level_plot(title, x_label, y_label):
    """A drawing function for output level vs input level, one curve per sustain."""
    def draw(table, out):
        caption, x, columns = table
        figure, axes = plt.subplots(figsize=(9, 5.5))
        for (name, values), colour in zip(columns, colours(len(columns))):
            axes.plot(x, values, label=name, color=colour, linewidth=1.8)
        axes.set_xlabel(x_label)
        axes.set_ylabel(y_label)
        titled(axes, title, caption)
        axes.grid(True, alpha=0.3)
        axes.legend(title="sustain knob", loc="lower right")
        figure.tight_layout()
        figure.savefig(out, dpi=110)
    return draw


def riff_spectrum(table, out):
    caption, x, columns = table
    figure, axes = plt.subplots(figsize=(9, 5.5))
    styles = [dict(color="0.55", linewidth=1.2), dict(color="tab:red", linewidth=1.2)]
    for index, (name, values) in enumerate(columns):
        axes.plot(x, values, label=name, **styles[index % len(styles)])
    frequency_axis(axes)
    fit_top(axes, columns, 80)
    axes.set_ylabel("level (dB re full-scale sine)")
    titled(axes, "Demo riff spectrum: dry vs processed", caption)
    axes.legend(loc="upper right")
    figure.tight_layout()
    figure.savefig(out, dpi=110)


FIGURES = [
    ("tone_response", frequency_responses("Tone control: small-signal frequency response",
                                          "tone knob")),
    ("level_curves", level_plot("Static input/output curve", "input level, sine peak (dBFS)",
                                "output level, peak (dBFS)")),
    ("riff_spectrum", riff_spectrum),
    ("rate_response", frequency_responses("Sample rate: small-signal frequency response",
                                          "file rate")),
    ("riff_levels", level_plot("Guitar level: where sustain matters",
                               "input level, riff peak (dBFS)", "output level, RMS (dBFS)")),
]


def main(argv):
    if len(argv) != 2:
        sys.exit("usage: veltrax_plots.py DIR")
    directory = argv[1]
    drawn = 0
    for name, draw in FIGURES:
        table_path = os.path.join(directory, name + ".csv")
        if not os.path.exists(table_path):
            continue
        draw(read_table(table_path), os.path.join(directory, name + ".png"))
        plt.close("all")
        drawn += 1
    if drawn == 0:
        sys.exit(f"veltrax_plots: no measurement tables in {directory}")


if __name__ == "__main__":
    main(sys.argv)
