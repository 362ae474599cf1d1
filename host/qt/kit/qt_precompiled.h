// What nearly every file of the desktop includes. Precompiled; nothing includes it by hand.
#pragma once

#include <QtGui/QtGui>
#include <QtWidgets/QtWidgets>
#include <memory>
#include <string>
#include <vector>
