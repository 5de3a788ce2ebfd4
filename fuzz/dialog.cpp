// Dialog templates and the compiled resources with them: a damaged one counts as missing.
#include "dialogs/dialog_template.h"

#include "fuzz_machine.h"
#include "resource.h"
#include "resources/resources.h"

void TryInput(std::string_view input) {
    constexpr WORD kDialog = 5;
    const auto found = winhost::FindResource(input, kDialog, IDD_SETUP);
    for (const std::string_view dialog : {input, found.data})
        (void)RunModelled([&] { (void)winhost::ParseDialog(dialog); });
}
