// The whole plug-in interface: a plug-in includes this header.
#pragma once

#include "c4d_bitmap.h"
#include "c4d_container.h"
#include "c4d_dialog.h"
#include "c4d_document.h"
#include "c4d_events.h"
#include "c4d_file.h"
#include "c4d_filename.h"
#include "c4d_input.h"
#include "c4d_math.h"
#include "c4d_plugin.h"
#include "c4d_render.h"
#include "c4d_string.h"
#include "c4d_threading.h"
#include "c4d_types.h"
#include "c4d_view.h"
