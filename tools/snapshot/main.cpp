// snapshot                  prints a snapshot of this machine
// snapshot BEFORE AFTER     prints what changed between two printed snapshots, for a person
#include <windows.h>

#include <cstdio>

#include "snapshot/snapshot.h"
#include "common/text.h"

namespace {

void Print(const std::string& text) {
    (void)std::fwrite(text.data(), 1, text.size(), stdout);
}

void PrintChanges(const std::vector<snapshot::Change>& changes) {
    for (const auto& change : changes) {
        Print(std::string(1, change.kind) + " " + change.name + "   ");
        Print(change.kind == '*'   ? change.before + "  ->  " + change.after
              : change.kind == '+' ? change.after
                                   : "was " + change.before);
        Print("\n");
    }
    if (changes.empty()) Print("nothing changed\n");
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    if (__argc == 1) {
        Print(snapshot::ToText(snapshot::Take()));
        return 0;
    }
    if (__argc != 3) {
        Print("usage: snapshot [BEFORE AFTER]\n");
        return 2;
    }
    PrintChanges(snapshot::Compare(snapshot::FromText(tools::ReadWhole(__wargv[1]).value_or("")),
                                   snapshot::FromText(tools::ReadWhole(__wargv[2]).value_or(""))));
    return 0;
}
