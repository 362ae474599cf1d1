// Headers that nearly every file of the desktop includes. Precompiled; do not include it by hand.
#pragma once

#include <QtGui/QtGui>
#include <QtWidgets/QtWidgets>
#include <memory>
#include <string>
#include <vector>
