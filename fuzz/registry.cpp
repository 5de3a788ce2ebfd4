// The file of the registry: if its content is read, written and read again, the result is the same.
#include "registry/registry_text.h"

#include "fuzz_machine.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string written = winhost::FormatRegistry(*winhost::ParseRegistry(Bytes(data, size)));
    Require(winhost::FormatRegistry(*winhost::ParseRegistry(written)) == written,
            "written and read the same");
    return 0;
}
