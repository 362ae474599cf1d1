// Mouse and keyboard input of dialogs, user areas and scene hooks. Main thread. Entries are LONG unless they
// say otherwise.
#pragma once

#include "c4d_container.h"

// Messages of dialogs and user areas: the ID of the container that `Message` gets.
inline constexpr LONG BFM_ACTION = FourCC("bACT"); // a gadget was used
inline constexpr LONG BFM_INPUT = FourCC("bIPN");  // mouse or keyboard input
inline constexpr LONG BFM_SIZED = FourCC("bISI");  // (ours) a user area has got another size
inline constexpr LONG BFM_CLOSE = FourCC("clos");  // (ours) the window closes
inline constexpr LONG BFM_GETCURSORINFO =
    FourCC("cinf"); // the pointer moves over the area; may set RESULT_CURSOR

// In BFM_ACTION and in the container that `Command` gets.
inline constexpr LONG BFM_ACTION_ID = FourCC("meid");     // the gadget
inline constexpr LONG BFM_ACTION_VALUE = FourCC("meva");  // LONG or Real: its value; absent for texts
inline constexpr LONG BFM_ACTION_INDRAG = FourCC("medr"); // 1 while the gadget is being dragged, else 0

// In BFM_INPUT, in input events and input states; also in the `Command` container of a button or menu, for
// the input that caused it.
inline constexpr LONG BFM_INPUT_DEVICE = FourCC("idev");    // BFM_INPUT_MOUSE or BFM_INPUT_KEYBOARD
inline constexpr LONG BFM_INPUT_CHANNEL = FourCC("icha");   // the button or key
inline constexpr LONG BFM_INPUT_VALUE = FourCC("ival");     // 1 pressed, 0 not; wheel: 120 a notch
inline constexpr LONG BFM_INPUT_QUALIFIER = FourCC("iqua"); // bits QSHIFT, QCTRL, QALT
inline constexpr LONG BFM_INPUT_ASC = FourCC("iasc");       // String: the typed text
// Real, logical pixels from the upper left corner of the window's content, or of the view's frame.
inline constexpr LONG BFM_INPUT_X = FourCC("ixps");
inline constexpr LONG BFM_INPUT_Y = FourCC("iyps");
inline constexpr LONG BFM_INPUT_DOUBLECLICK = FourCC("idbl"); // 1 for the second press of a double click

// Devices.
inline constexpr LONG BFM_INPUT_MOUSE = FourCC("mous");
inline constexpr LONG BFM_INPUT_KEYBOARD = FourCC("keyb");
// Channels of the mouse. Channels of the keyboard are code points: capital letters, digits, signs.
inline constexpr LONG BFM_INPUT_MOUSELEFT = 1;
inline constexpr LONG BFM_INPUT_MOUSERIGHT = 2;
inline constexpr LONG BFM_INPUT_MOUSEMIDDLE = 3;
inline constexpr LONG BFM_INPUT_MOUSEWHEEL = 100;
inline constexpr LONG BFM_INPUT_MOUSEMOVE = 101;
// Qualifiers, bits.
inline constexpr LONG QSHIFT = 1;
inline constexpr LONG QCTRL = 2;
inline constexpr LONG QALT = 4;

/// The host's code of the left button for a drag in a view.
inline constexpr LONG KEY_MLEFT = 61440;

// The answer to a request for the pointer: MOUSE_... under RESULT_CURSOR.
inline constexpr LONG RESULT_CURSOR = 1;
inline constexpr LONG MOUSE_NORMAL = 1;
inline constexpr LONG MOUSE_MOVE = 18;
