// A part for the loader's tests; its interface is the number of calls of the entry.
extern "C" [[gnu::visibility("default")]] void* lumenara_part_test() {
  static int asked = 0;
  ++asked;
  return &asked;
}
