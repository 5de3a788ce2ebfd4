// A library that the package contains for machines that lack it.
extern "C" int RuntimeVersion();

int RuntimeVersion() {
    return 9;
}
