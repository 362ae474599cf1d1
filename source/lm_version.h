// The plug-in's version.
#pragma once

#include "c4d.h"

/// Major "." minor of two digits.
String GetVersionString();

/// Prints the start-up banner on the console; with `flag` also the notice lines.
void PrintVersionString(const String& name, Bool flag);
