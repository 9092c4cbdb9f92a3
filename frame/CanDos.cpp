#include "frame/CanDos.h"

namespace PlugCanDos {
const char* const canDoSendVstEvents = "sendVstEvents";
const char* const canDoSendVstMidiEvent = "sendVstMidiEvent";
const char* const canDoReceiveVstEvents = "receiveVstEvents";
const char* const canDoReceiveVstMidiEvent = "receiveVstMidiEvent";
const char* const canDoReceiveVstTimeInfo = "receiveVstTimeInfo";
const char* const canDoOffline = "offline";
const char* const canDoMidiProgramNames = "midiProgramNames";
const char* const canDoBypass = "bypass";
}  // namespace PlugCanDos

namespace HostCanDos {
const char* const canDoSendVstEvents = "sendVstEvents";
const char* const canDoSendVstMidiEvent = "sendVstMidiEvent";
const char* const canDoSendVstTimeInfo = "sendVstTimeInfo";
const char* const canDoReceiveVstEvents = "receiveVstEvents";
const char* const canDoReceiveVstMidiEvent = "receiveVstMidiEvent";
const char* const canDoReportConnectionChanges = "reportConnectionChanges";
const char* const canDoAcceptIOChanges = "acceptIOChanges";
const char* const canDoSizeWindow = "sizeWindow";
const char* const canDoOffline = "offline";
const char* const canDoOpenFileSelector = "openFileSelector";
const char* const canDoCloseFileSelector = "closeFileSelector";
const char* const canDoStartStopProcess = "startStopProcess";
const char* const canDoShellCategory = "shellCategory";
const char* const canDoSendVstMidiEventFlagIsRealtime = "sendVstMidiEventFlagIsRealtime";
}  // namespace HostCanDos
