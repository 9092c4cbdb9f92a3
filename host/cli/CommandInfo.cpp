#include <cstdio>
#include <string>

#include "host/cli/Commands.h"
#include "host/cli/InstallLayout.h"
#include "host/plugin/EffectInstance.h"
#include "host/plugin/FourCharCode.h"
#include "presets/NamedPresets.h"

namespace veltrax::host {
namespace {

const char* categoryName(intptr_t category) {
  static const char* const names[] = {"unknown",     "effect",      "synth",   "analysis",
                                      "mastering",   "spatializer", "room fx", "surround fx",
                                      "restoration", "offline",     "shell",   "generator"};
  return category >= 0 && category < 12 ? names[category] : "other";
}

std::string flagNames(int32_t flags) {
  static const std::pair<int32_t, const char*> known[] = {
      {effFlagsHasEditor, "editor"},      {effFlagsCanReplacing, "float replacing"},
      {effFlagsProgramChunks, "chunks"},  {effFlagsIsSynth, "synth"},
      {effFlagsNoSoundInStop, "no tail"}, {effFlagsCanDoubleReplacing, "double replacing"}};
  std::string text;
  for (const auto& [bit, name] : known)
    if (flags & bit) text += (text.empty() ? "" : ", ") + std::string(name);
  return text.empty() ? "none" : text;
}

void printEntryPoints(const ModuleLibrary& module) {
  std::printf("entry points  ");
  bool first = true;
  for (const char* name : {"getinterface", "QTypeIF", "VSTPluginMain", "main"}) {
    std::printf("%s%s %s", first ? "" : ", ", name, module.symbol(name) ? "yes" : "no");
    first = false;
  }
  std::printf("\n");
}

void printParameters(const EffectInstance& effect) {
  std::printf("parameters    %d\n", effect.parameterCount());
  std::printf("  %-3s %-9s %-7s %-8s %-6s %s\n", "#", "name", "value", "display", "label",
              "properties");
  for (int32_t i = 0; i < effect.parameterCount(); ++i) {
    const auto properties = effect.parameterProperties(i);
    std::printf("  %-3d %-9s %-7.3f %-8s %-6s %s\n", i, effect.parameterName(i).c_str(),
                effect.parameter(i), effect.parameterDisplay(i).c_str(),
                effect.parameterLabel(i).empty() ? "-" : effect.parameterLabel(i).c_str(),
                properties ? describeParameterProperties(*properties).c_str() : "(none)");
  }
}

// Each program's name as the module answers both queries: as the current
// program (what a host's program menu shows after selecting it) and by index.
// The selection is put back afterwards.
void printPrograms(const EffectInstance& effect) {
  const int32_t current = effect.currentProgram();
  std::printf("programs      %d, current %d \"%s\"; names as current / by index:\n",
              effect.programCount(), current, effect.currentProgramName().c_str());
  constexpr int kPerLine = 3;
  for (int32_t i = 0; i < effect.programCount(); ++i) {
    effect.dispatch(effSetProgram, 0, i);
    const std::string asCurrent = "\"" + effect.currentProgramName() + "\"";
    const auto indexed = effect.programName(i);
    const std::string byIndex = indexed ? "\"" + *indexed + "\"" : "(no answer)";
    const bool endOfLine = i % kPerLine == kPerLine - 1 || i + 1 == effect.programCount();
    std::printf("%s%3d %s / %-*s", i % kPerLine == 0 ? "  " : "  ", i, asCurrent.c_str(),
                endOfLine ? 0 : 10, byIndex.c_str());
    if (endOfLine) std::printf("\n");
  }
  effect.dispatch(effSetProgram, 0, current);
}

void printExtension(const EffectInstance& effect) {
  const HostExtension& ext = effect.extension();
  std::printf(
      "extension     header version %d; jacks %d in, %d out; signals %d in (from %d), "
      "%d out (from %d); dry input signal %d\n",
      ext.headerVersion(), ext.inJackCount(), ext.outJackCount(), ext.inSignalCount(0),
      ext.firstInSignal(0), ext.outSignalCount(0), ext.firstOutSignal(0), ext.drySignal());
}

}  // namespace

int runInfo(const InfoOptions& options) {
  const auto module = ModuleLibrary::open(locateModule(options.module));
  const auto effect = EffectInstance::create(module);
  const EffectIdentity id = effect->identity();
  std::printf("module        %s\n", module->path().c_str());
  printEntryPoints(*module);
  std::printf("effect name   %s\n", id.effectName.c_str());
  std::printf("product       %s\n", id.productString.c_str());
  std::printf("vendor        %s\n", id.vendorString.empty() ? "(none)" : id.vendorString.c_str());
  std::printf("vendor ver.   %ld\n", static_cast<long>(id.vendorVersion));
  std::printf("unique ID     '%s' (0x%08X)\n", fourCharText(id.uniqueId).c_str(),
              static_cast<unsigned>(id.uniqueId));
  std::printf("version       %d\n", id.version);
  std::printf("category      %ld (%s)\n", static_cast<long>(id.category),
              categoryName(id.category));
  std::printf("interface     %ld\n", static_cast<long>(id.interfaceVersion));
  std::printf("audio         %d in, %d out; latency %d samples\n", id.numInputs, id.numOutputs,
              id.initialDelay);
  std::printf("flags         0x%X (%s)\n", static_cast<unsigned>(id.flags),
              flagNames(id.flags).c_str());
  printParameters(*effect);
  printPrograms(*effect);
  printExtension(*effect);
  std::printf("presets       ");
  for (const auto& preset : kNamedPresets)
    std::printf("%.*s%s", static_cast<int>(preset.name.size()), preset.name.data(),
                &preset == &kNamedPresets.back() ? "\n" : ", ");
  return 0;
}

}  // namespace veltrax::host
