// A module that is no plug-in.
extern "C" int nothingToSeeHere() {
  return 42;
}
