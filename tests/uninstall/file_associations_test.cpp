#include "uninstall/file_associations.h"

#include "app/setup_state.h"
#include "harness/registry_values.h"

namespace {

const Text kFileExts = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\FileExts");
using Stored = std::optional<StoredValue>;

class FileAssociations : public ScratchTest {
  protected:
    ~FileAssociations() override { Clean(); }
    static void Clean() {
        DeleteKeyTree(HKEY_CURRENT_USER, kFileExts);
        DeleteKeyTree(HKEY_CLASSES_ROOT, TEXT(".qvi"));
        DeleteKeyTree(HKEY_CLASSES_ROOT, TEXT(".png"));
    }
};

// From Windows Vista on, the user's choice is deleted when it is the product's application. The note of a former choice is deleted always.
TEST_F(FileAssociations, ChoicesOfTheProductAreDropped) {
    const struct {
        LPCWSTR extension, progId;
        bool stays;
    } rows[] = {
        {TEXT(".png"), TEXT("Applications\\QtvApp8.exe"), false},
        {TEXT(".dib"), TEXT("x Applications\\QtvApp8.exe y"), false},
        {TEXT(".qvi"), TEXT("Other.Picture"), true},
        {TEXT(".bmp"), TEXT("QtvApp8.exe"), true},
        {TEXT(".gif"), TEXT("Qantivo.8"), true},
        {TEXT(".zip"), TEXT("Applications\\QtvApp8.exe"), true},
    };
    for (const auto& row : rows) {
        const Text key = kFileExts + TEXT("\\") + row.extension;
        PutValue(HKEY_CURRENT_USER, key + TEXT("\\UserChoice"), TEXT("Progid"), Sz(row.progId));
        PutValue(HKEY_CURRENT_USER, key, TEXT("QtvAppOld"), Sz(TEXT("old.exe")));
    }
    g_osVersion.dwMajorVersion = 6;
    RestoreFileAssociations();
    for (const auto& row : rows) {
        const Text key = kFileExts + TEXT("\\") + row.extension;
        EXPECT_EQ(HasKey(HKEY_CURRENT_USER, key + TEXT("\\UserChoice")), row.stays);
        EXPECT_EQ(GetValue(HKEY_CURRENT_USER, key, TEXT("QtvAppOld")).has_value(),
                  row.extension == Text(TEXT(".zip")));
    }
    // Without the user's record, the classes are searched in the same way.
    Clean();
    PutValue(HKEY_CLASSES_ROOT, TEXT(".png\\UserChoice"), TEXT("Progid"), Sz(rows[0].progId));
    RestoreFileAssociations();
    EXPECT_FALSE(HasKey(HKEY_CLASSES_ROOT, TEXT(".png\\UserChoice")));
}

// Before Windows Vista, the former choice returns if the present choice is the product's program.
TEST_F(FileAssociations, FormerChoicesComeBack) {
    const Stored ours = Sz(TEXT("C:\\x\\QtvApp8.exe")), paint = Sz(TEXT("mspaint.exe")),
                 longest = Sz(Text(511, 'p'));
    // A text that fills the whole buffer, without a terminator.
    const Stored unended = StoredValue{REG_BINARY, std::string(1024, 'A')};
    const struct {
        LPCWSTR extension;
        Stored present, former = {}, after = {}, noteAfter = {};
    } rows[] = {
        {.extension = TEXT(".bmp"), .present = ours, .former = paint, .after = paint},
        {.extension = TEXT(".gif"), .present = ours},
        {.extension = TEXT(".jpg"), .present = paint, .former = paint, .after = paint, .noteAfter = paint},
        {.extension = TEXT(".cmp"), .present = ours, .former = longest, .after = longest},
        {.extension = TEXT(".tga"), .present = ours, .former = Sz(Text(512, 'p'))},
        {.extension = TEXT(".qvi"), .present = ours, .former = unended},
    };
    g_osVersion.dwMajorVersion = 5;
    for (const auto& row : rows) {
        const Text key = kFileExts + TEXT("\\") + row.extension;
        PutValue(HKEY_CURRENT_USER, key, TEXT("Application"), *row.present);
        if (row.former) PutValue(HKEY_CURRENT_USER, key, TEXT("QtvAppOld"), *row.former);
    }
    RestoreFileAssociations();
    for (const auto& row : rows) {
        const Text key = kFileExts + TEXT("\\") + row.extension;
        EXPECT_EQ(GetValue(HKEY_CURRENT_USER, key, TEXT("Application")), row.after) << &row - rows;
        EXPECT_EQ(GetValue(HKEY_CURRENT_USER, key, TEXT("QtvAppOld")), row.noteAfter) << &row - rows;
    }
    // Without the user's record the default values of the classes count.
    DeleteKeyTree(HKEY_CURRENT_USER, kFileExts);
    PutValue(HKEY_CLASSES_ROOT, TEXT(".qvi"), nullptr, *ours);
    PutValue(HKEY_CLASSES_ROOT, TEXT(".qvi"), TEXT("QtvAppOld"), *paint);
    RestoreFileAssociations();
    EXPECT_EQ(GetValue(HKEY_CLASSES_ROOT, TEXT(".qvi"), nullptr), paint);
    EXPECT_FALSE(GetValue(HKEY_CLASSES_ROOT, TEXT(".qvi"), TEXT("QtvAppOld")));
}

}  // namespace
