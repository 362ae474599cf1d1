// A part for the loader's tests; its interface is a number that counts how often it was asked for.
extern "C" [[gnu::visibility("default")]] void* lumenara_part_test() {
  static int asked = 0;
  ++asked;
  return &asked;
}
