// Measurements of the module through the host interface, as tables that the
// plot script draws: the small-signal frequency response at several tone
// settings, the static input/output level curve at several sustain settings,
// and the spectra of a signal before and after the effect.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/plugin/KnobSettings.h"
#include "host/plugin/ModuleLibrary.h"

namespace veltrax::host {

// One x column and several named y columns; written as CSV with a header row.
struct Table {
  std::string caption;  // written as a leading "# ..." line when not empty
  std::string xName;
  std::vector<double> x;
  std::vector<std::string> columnNames;
  std::vector<std::vector<double>> columns;  // columns[c][i] belongs to x[i]
};

void writeCsv(const std::string& path, const Table& table);

// Runs `signal` through a fresh instance with `knobs`, in blocks of
// `blockSize`.
std::vector<double> renderMono(const std::shared_ptr<ModuleLibrary>& module,
                               const KnobSettings& knobs, double sampleRate, int32_t blockSize,
                               const std::vector<double>& signal);

// Gain in dB at `frequencies`, from the response to an impulse small enough
// that the clipping stage stays in its linear range. One column per tone
// setting; `knobs` gives the other controls.
Table measureToneResponses(const std::shared_ptr<ModuleLibrary>& module, double sampleRate,
                           KnobSettings knobs, const std::vector<double>& tones,
                           const std::vector<double>& frequencies);

// Output peak level (dBFS) of a steady sine of `frequency` Hz against its
// input peak level (dBFS). One column per sustain setting.
Table measureLevelCurves(const std::shared_ptr<ModuleLibrary>& module, double sampleRate,
                         KnobSettings knobs, const std::vector<double>& sustains,
                         const std::vector<double>& inputLevelsDb, double frequency);

// Output RMS level (dBFS) of `signal` scaled to each input peak level
// (dBFS) of `inputPeaksDb`, through a fresh instance per level. One column
// per sustain setting: where the columns meet, sustain no longer matters.
Table measureSignalLevels(const std::shared_ptr<ModuleLibrary>& module, double sampleRate,
                          KnobSettings knobs, const std::vector<double>& sustains,
                          const std::vector<double>& inputPeaksDb,
                          const std::vector<double>& signal);

// Welch spectra in dB of several signals in 1/12-octave bands from `low` to
// `high` Hz.
Table compareSpectra(const std::vector<std::string>& names,
                     const std::vector<const std::vector<double>*>& signals, double sampleRate,
                     double low, double high);

}  // namespace veltrax::host
