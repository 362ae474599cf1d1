// Mouse and keyboard input, as dialogs, user areas and scene hooks get it. Main thread.
#pragma once

#include "c4d_container.h"

// Messages of dialogs and user areas: the ID of the container that `Message` gets.
inline constexpr LONG BFM_ACTION = FourCC("bACT"); // a gadget was used
inline constexpr LONG BFM_INPUT = FourCC("bIPN");  // mouse or keyboard input
inline constexpr LONG BFM_SIZED = FourCC("bISI");  // (ours) a user area has another size now
inline constexpr LONG BFM_CLOSE = FourCC("clos");  // (ours) the window closes
inline constexpr LONG BFM_GETCURSORINFO =
    FourCC("cinf"); // the pointer moves over the area; may set RESULT_CURSOR

// In BFM_ACTION and in the container that `Command` gets.
inline constexpr LONG BFM_ACTION_ID = FourCC("meid");     // the gadget
inline constexpr LONG BFM_ACTION_VALUE = FourCC("meva");  // its value, where it is a number
inline constexpr LONG BFM_ACTION_INDRAG = FourCC("medr"); // 1 while it is being dragged

// In BFM_INPUT, in input events and input states. A button's or menu's `Command` container carries the input
// that caused it as well.
inline constexpr LONG BFM_INPUT_DEVICE = FourCC("idev");
inline constexpr LONG BFM_INPUT_CHANNEL = FourCC("icha");
inline constexpr LONG BFM_INPUT_VALUE = FourCC("ival");     // 1 pressed, 0 not; wheel: 120 a notch
inline constexpr LONG BFM_INPUT_QUALIFIER = FourCC("iqua"); // QSHIFT...
inline constexpr LONG BFM_INPUT_ASC = FourCC("iasc");       // the typed text, a string
inline constexpr LONG BFM_INPUT_X = FourCC("ixps"); // real; of the window's content, or of the view's frame
inline constexpr LONG BFM_INPUT_Y = FourCC("iyps");
inline constexpr LONG BFM_INPUT_DOUBLECLICK = FourCC("idbl");

// Devices.
inline constexpr LONG BFM_INPUT_MOUSE = FourCC("mous");
inline constexpr LONG BFM_INPUT_KEYBOARD = FourCC("keyb");
// Channels of the mouse. Those of the keyboard are the code points of capital letters, digits and signs, or
// KEY_....
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

// What a cursor request answers with.
inline constexpr LONG RESULT_CURSOR = 1;
inline constexpr LONG MOUSE_NORMAL = 1;
inline constexpr LONG MOUSE_MOVE = 18;
