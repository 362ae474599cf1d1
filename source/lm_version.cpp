#include "lm_version.h"

#include "lm_numbers.h"

namespace {

constexpr LONG VERSION_MAJOR = 1;
constexpr LONG VERSION_MINOR = 0;

} // namespace

String GetVersionString() {
  return LongToString(VERSION_MAJOR) + "." + StrPad(VERSION_MINOR, 2, "0");
}

void PrintVersionString(const String& name, Bool flag) {
  const String frame = "||----------------------------------------";
  GePrint(frame);
  GePrint("||  " + name + " v" + GetVersionString());
  if (flag) {
    GePrint("||  An interactive render viewer.");
    GePrint("||  Licensed under the Apache License, Version 2.0.");
  }
  GePrint(frame);
}
