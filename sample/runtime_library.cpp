// A library that the package carries for machines that lack it.
extern "C" int RuntimeVersion();

int RuntimeVersion() {
    return 9;
}
