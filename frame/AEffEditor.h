// The editor interface an effect may own. VELTRAX has no editor; the shape is
// here so that the dispatchers can route the editor opcodes (13, 14, 15, 19,
// 59, 60, 61) to whatever editor an effect installs with setEditor().
#pragma once

#include <cstdint>

// Window rectangle the editor hands back; only its address travels.
struct EditorRect;

// Key event given to the editor: character, virtual key code, modifier bits.
struct VstKeyCode {
  int32_t character;
  unsigned char virt;
  unsigned char modifier;
};

class AEffEditor {
 public:
  virtual ~AEffEditor() = default;

  // Host asks for the editor window's size; `rect` receives a pointer to it.
  virtual bool getRect(EditorRect** rect) {
    (void)rect;
    return false;
  }
  // Host opens the editor inside the parent window `ptr`.
  virtual bool open(void* ptr) {
    (void)ptr;
    return false;
  }
  // Host closes the editor window.
  virtual void close() {}
  // Host gives the editor idle time on the UI thread.
  virtual void idle() {}
  // Host forwards a key press / release to the open editor.
  virtual bool onKeyDown(VstKeyCode& keyCode) {
    (void)keyCode;
    return false;
  }
  virtual bool onKeyUp(VstKeyCode& keyCode) {
    (void)keyCode;
    return false;
  }
  // Host sets how knobs follow the mouse (circular, relative circular, linear).
  virtual bool setKnobMode(int32_t mode) {
    (void)mode;
    return false;
  }
};
