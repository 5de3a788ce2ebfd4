// What a stranger who can write where setup looks could make of it. The behaviour is relied upon as it stands
// (docs/security.md): who changes it, for the better even, changes what others see.
#include "end_to_end/run.h"
#include "support/registry_values.h"

namespace {

class FixedRisk : public EndToEndTest {};

// The registrar is named without a folder, and the search begins in the folder of the program.
TEST_F(FixedRisk, ProgramNamedAsTheRegistrarBesideSetupIsRun) {
    ImportFile(QTV_BUILD_FOLDER "/package/QtvApp8.exe", package + TEXT("\\regsvr32.exe"));
    Rebase();
    Setup(TEXT("-s"));
    const State changes = Changes();
    EXPECT_EQ(changes.count("HKCU\\Software\\Lorvanta\\Qantivo 8\\ : Starts"), 1u) << "it ran";
    for (const auto& [name, what] : changes)
        EXPECT_EQ(name.find("5E0C2B7A"), name.npos) << "the handler is not registered: " << name;
}

// With a blank in the folder and no quotes, "C:\Program.exe" would be started instead, if somebody put it
// there.
TEST_F(FixedRisk, UninstallCommandStandsWithoutQuotes) {
    Setup(TEXT("-s"));
    EXPECT_EQ(GetValue(HKEY_LOCAL_MACHINE,
                       TEXT("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Qantivo 8"),
                       TEXT("UninstallString")),
              Sz(TEXT("C:\\Program Files\\Qantivo 8\\QtvUnInst.exe")));
}

}  // namespace
