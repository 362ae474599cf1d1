// The tool tips of attributes. Main thread.
#pragma once

#include <QString>

#include "attributes.h"

namespace host {

/// A sentence about an attribute; empty for an unknown one.
QString attributeTip(const Attribute& attribute);

} // namespace host
