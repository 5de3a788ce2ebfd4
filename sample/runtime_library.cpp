// A library that the package carries for machines that lack it.
extern "C" int RuntimeVersion() {
    return 9;
}
