#include "lm_version.h"

#include "lm_numbers.h"

String GetVersionString() {
  return LongToString(LUMENARA_VERSION_MAJOR) + "." + StrPad(LUMENARA_VERSION_MINOR, 2, "0");
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
