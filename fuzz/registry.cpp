// The file of the registry: if its content is read, written and read again, the result is the same.
#include "registry/registry_text.h"

#include "fuzz_machine.h"

void TryInput(std::string_view input) {
    const std::string written = winhost::FormatRegistry(*winhost::ParseRegistry(input));
    Require(winhost::FormatRegistry(*winhost::ParseRegistry(written)) == written,
            "written and read the same");
}
