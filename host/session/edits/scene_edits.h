// Changes of a document, each as one function: the managers of a desktop call them inside `Edits::apply` or
// `Edits::update`. Nodes are named by identity; an identity that the document does not have, or of a node of
// another kind, is skipped. True when something was done. Main thread, with the document's lock held.
#pragma once

#include "attribute_edits.h"
#include "camera_edits.h"
#include "drop_edits.h"
#include "light_group_edits.h"
#include "material_edits.h"
#include "new_objects.h"
#include "object_edits.h"
#include "render_edits.h"
