// Events, questions, the console and the status bar.
#pragma once

#include "c4d_container.h"
#include "c4d_filename.h"
#include "c4d_string.h"

/// Core message: the scene has changed. Messages that wait become one.
inline constexpr LONG EVMSG_CHANGE = 604;
/// In a special event's message: its ID (LONG) and its two parameters (LLONG).
inline constexpr LONG BFM_CORE_ID = 0;
inline constexpr LONG BFM_CORE_PAR1 = 1;
inline constexpr LONG BFM_CORE_PAR2 = 2;

enum EVENT { EVENT_0 = 0, EVENT_FORCEREDRAW = 1 };

/// Sends a core message to every dialog, on the main thread, in the order of the calls. Any thread.
C4D_API void SpecialEventAdd(LONG messageId, ULLONG p1 = 0, ULLONG p2 = 0);
/// Tells everyone that the scene has changed. Any thread.
C4D_API void EventAdd(EVENT eventFlag = EVENT_0);
/// Runs a registered command. Main thread.
C4D_API void CallCommand(LONG id);

/// Redraws editor views. `flags`: DRAWFLAGS_... (c4d_view.h). Main thread; from others it is posted.
C4D_API Bool DrawViews(LONG flags);

/// One line on the console. Any thread; does not block.
C4D_API void GePrint(const String& text);

/// Shows a text and waits for the user. Any thread: the main thread shows it; nothing is shown once the
/// calling thread has been told to end.
C4D_API void MessageDialog(const String& text);
/// Asks a question; true for yes. Any thread, as `MessageDialog`; the answer is no once the calling thread
/// has been told to end.
C4D_API Bool QuestionDialog(const String& text);

/// The status bar: a text, a bar (`percent` 0 to 100) or a moving bar. Any thread; does not block.
C4D_API void StatusSetText(const String& text);
C4D_API void StatusSetBar(LONG percent);
C4D_API void StatusSetSpin();
C4D_API void StatusClear();
