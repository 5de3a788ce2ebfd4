// The machine's next start: carries out the boot-time marks, and wininit.ini.
#include <unistd.h>
#include <winhost.h>

#include <fstream>

#include "core/text.h"
#include "files/boot.h"
#include "files/copy_move.h"
#include "files/files.h"
#include "files/profile.h"

namespace winhost {

namespace {

// This file exists if the machine also carries out wininit.ini.
constexpr char kCarriesOutWininit[] = "wininit";

// At a start nothing is open, so the sharing rules don't apply. A mark that fails is skipped without a message.
void CarryOut(const BootMark& mark) {
    // Nothing is removed from a device or the network.
    if (mark.source.size() < 2 || mark.source[1] != u':') return;
    const Place source = Locate(mark.source);
    if (mark.target)
        (void)MovePlace(source, Locate(*mark.target), mark.replace);
    else
        (void)RemovePlace(source);
}

void CarryOutWininit() {
    const Place file = Locate(u"C:\\Windows\\wininit.ini");
    if (!file.exists()) return;
    for (const std::u16string& entry : ReadSection(file, u"rename")) {
        const std::size_t equals = entry.find(u'=');
        if (equals == entry.npos) continue;
        const std::u16string target = entry.substr(0, equals);
        const Place source = Locate(entry.substr(equals + 1));
        if (SameName(target, u"NUL"))
            (void)RemovePlace(source);
        else
            (void)MovePlace(source, Locate(target), true);
    }
    (void)MovePlace(file, Locate(u"C:\\Windows\\wininit.bak"), true);
}

}  // namespace

void SetCarriesOutWininit(bool on) {
    if (on)
        std::ofstream(StateFolder() / kCarriesOutWininit).put('1');
    else
        (void)unlink((StateFolder() / kCarriesOutWininit).c_str());
}

void RestartMachine() {
    if (std::filesystem::exists(StateFolder() / kCarriesOutWininit)) CarryOutWininit();
    for (const BootMark& mark : BootMarks())
        CarryOut(mark);
    ForgetBootMarks();
}

}  // namespace winhost
