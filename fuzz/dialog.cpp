// Dialog templates and the compiled resources with them: a damaged one counts as missing.
#include "dialogs/dialog_template.h"

#include "fuzz_machine.h"
#include "resource.h"
#include "resources/resources.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr WORD kDialog = 5;
    const std::string_view bytes = Bytes(data, size);
    const auto found = winhost::FindResource(bytes, kDialog, IDD_SETUP);
    for (const std::string_view dialog : {bytes, found.data})
        (void)RunModelled([&] { (void)winhost::ParseDialog(dialog); });
    return 0;
}
