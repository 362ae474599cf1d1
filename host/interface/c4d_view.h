// Editor views as scene hooks see them: mouse input, the pointer, and lines over the picture. Main thread.
#pragma once

#include "c4d_document.h"
#include "c4d_input.h"
#include "c4d_plugin.h"

enum MOUSEDRAGFLAGS { MOUSEDRAGFLAGS_0 = 0 };
enum MOUSEDRAGRESULT {
  MOUSEDRAGRESULT_ESCAPE = 1,
  MOUSEDRAGRESULT_FINISHED = 2,
  MOUSEDRAGRESULT_CONTINUE = 3
};

/// The passes of a drawing, bits.
enum SCENEHOOKDRAW { SCENEHOOKDRAW_0 = 0, SCENEHOOKDRAW_FOREGROUND_PASS = 4 };

/// Flags of `DrawViews`: redraw the active view before the call returns; redraw all views soon. (ours)
inline constexpr LONG DRAWFLAGS_ACTIVE_VIEW_NOW = 0x40502;
inline constexpr LONG DRAWFLAGS_ALL_VIEWS_SOON = 266498;

/// A scene hook's place in a document: one for every registered hook, made when the document becomes the
/// active one. Clones have no scene hooks.
class C4D_API BaseSceneHook {
 public:
  LONG GetType() const noexcept { return type_; } // the ID that the hook was registered with
  const String& GetName() const noexcept { return name_; }
  BaseDocument* GetDocument() const noexcept { return document_; }

 protected:
  BaseSceneHook(LONG type, const String& name, BaseDocument* document)
      : type_(type), name_(name), document_(document) {}
  ~BaseSceneHook() = default;
  BaseSceneHook(const BaseSceneHook&) = delete;
  BaseSceneHook& operator=(const BaseSceneHook&) = delete;
  LONG type_;
  String name_;
  BaseDocument* document_;
};

/// The circumstances of a drawing. Valid during the call.
class C4D_API BaseDrawHelp {
 public:
  BaseDocument* GetDocument() const noexcept { return document_; }
  /// Whether it is the document's active view.
  Bool IsActiveView() const noexcept { return active_; }

 protected:
  BaseDrawHelp(BaseDocument* document, Bool active) : document_(document), active_(active) {}
  ~BaseDrawHelp() = default;
  BaseDocument* document_;
  Bool active_;
};

/// The window in which the mouse was pressed. Valid during `MouseInput`.
class C4D_API EditorWindow {
 public:
  /// Begins to follow the mouse. `button` is the code of the button that is held (KEY_MLEFT): a drag with
  /// another one ends at once. The position, in the frame of the view, is where the movement counts from.
  /// Painting and the owner's timers go on during a drag; other events wait.
  void MouseDragStart(LONG button, Real mx, Real my, MOUSEDRAGFLAGS flags);
  /// Waits a little for the mouse. Writes its movement since the last call, in logical pixels (0 while it
  /// rests), and, when not null, an input container with position and qualifier. FINISHED once the button is
  /// up, which keeps the last movement; ESCAPE when the user takes the drag back.
  MOUSEDRAGRESULT MouseDrag(Real* mx, Real* my, BaseContainer* channels);
  /// Ends the drag and gives its result. Without this call it ends when `MouseInput` returns.
  MOUSEDRAGRESULT MouseDragEnd();

 protected:
  explicit EditorWindow(host::DragLoop* loop) : loop_(loop) {}
  ~EditorWindow() = default;
  EditorWindow(const EditorWindow&) = delete;
  EditorWindow& operator=(const EditorWindow&) = delete;
  host::DragLoop* loop_;
};

/// A plug-in's part in editor views. Hooks are called in the order of their priority, small first, then of
/// registration. Positions are logical pixels from the upper left corner of the view's frame, y downwards.
/// Input outside the frame reaches no hook, except in a drag that began inside.
class C4D_API SceneHookData : public NodeData {
 public:
  SceneHookData() = default;
  ~SceneHookData() override;

  /// A button was pressed, or the wheel turned, over a view (BFM_INPUT_DEVICE, _CHANNEL, _X, _Y, _QUALIFIER,
  /// _VALUE, _DOUBLECLICK). True: handled, no other hook gets it. A drag counts as true.
  virtual Bool MouseInput(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, EditorWindow* win,
                          const BaseContainer& msg);
  /// The pointer rests or moves over a view. RESULT_CURSOR in `bc` asks for a pointer (MOUSE_MOVE...); the
  /// first hook that writes it, or returns true, decides.
  virtual Bool GetCursorInfo(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, Real x, Real y,
                             BaseContainer& bc);
  /// Draws over the picture (SCENEHOOKDRAW_FOREGROUND_PASS) with the drawing calls of `bd`. False reports a
  /// failure; the other hooks draw all the same.
  virtual Bool Draw(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, BaseDrawHelp* bh, BaseThread* bt,
                    SCENEHOOKDRAW flags);
};

/// False when the ID is 0 or taken. The allocator makes one instance for each document.
C4D_API Bool RegisterSceneHookPlugin(LONG id, const String& name, LONG info, DataAllocator* allocator,
                                     LONG priority, LONG diskLevel);
