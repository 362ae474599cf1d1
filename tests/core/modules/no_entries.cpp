// A module without the entries of a plug-in.
extern "C" int nothingToSeeHere() {
  return 42;
}
