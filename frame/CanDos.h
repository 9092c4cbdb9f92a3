// Capability strings exchanged through canDo (host asks the effect) and
// canHostDo (the effect asks the host).
#pragma once

namespace PlugCanDos {
extern const char* const canDoSendVstEvents;
extern const char* const canDoSendVstMidiEvent;
extern const char* const canDoReceiveVstEvents;
extern const char* const canDoReceiveVstMidiEvent;
extern const char* const canDoReceiveVstTimeInfo;
extern const char* const canDoOffline;
extern const char* const canDoMidiProgramNames;
extern const char* const canDoBypass;
}  // namespace PlugCanDos

namespace HostCanDos {
extern const char* const canDoSendVstEvents;
extern const char* const canDoSendVstMidiEvent;
extern const char* const canDoSendVstTimeInfo;
extern const char* const canDoReceiveVstEvents;
extern const char* const canDoReceiveVstMidiEvent;
extern const char* const canDoReportConnectionChanges;
extern const char* const canDoAcceptIOChanges;
extern const char* const canDoSizeWindow;
extern const char* const canDoOffline;
extern const char* const canDoOpenFileSelector;
extern const char* const canDoCloseFileSelector;
extern const char* const canDoStartStopProcess;
extern const char* const canDoShellCategory;
extern const char* const canDoSendVstMidiEventFlagIsRealtime;
}  // namespace HostCanDos
