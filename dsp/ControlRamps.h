// Per-block linear ramps of the three control values (volume, drive, tone
// level): sample i of the block uses start + i * step, i counted as a double.
#pragma once

struct ControlRamps {
  double dVolume, dSustain, dTone;
  double volumeStart, sustainStart, toneStart;
};
