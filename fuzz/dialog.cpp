// Dialog templates and the compiled resources that hold them: damaged ones read as missing.
#include "windows/dialog_template.h"

#include "machine.h"
#include "resource.h"
#include "resources/resources.h"

namespace {

struct IsNotModelled {};

}  // namespace

// The linker puts this in place of the call that ends a run: fonts and controls that the machine doesn't
// know.
[[noreturn]] void EndOfRun(const char* call, const std::string& what) asm(
    "__wrap__ZN7winhost11NotModelledEPKcRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
void EndOfRun(const char*, const std::string&) {
    throw IsNotModelled();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr WORD kDialog = 5;
    const std::string_view bytes = Bytes(data, size);
    const auto found = winhost::FindResource(bytes, kDialog, IDD_SETUP);
    for (const std::string_view dialog : {bytes, found.data})
        try {
            (void)winhost::ParseDialog(dialog);
        } catch (const IsNotModelled&) {
        }
    return 0;
}
