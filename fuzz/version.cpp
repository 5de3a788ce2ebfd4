// Version blocks: the program reads the numbers of any file or none, and each value is inside its block.
#include <vector>

#include "install/file_version.h"
#include "fuzz_machine.h"

void TryInput(std::string_view input) {
    constexpr WCHAR kFile[] = TEXT("C:\\file.exe");
    Put("C/file.exe", input);
    ReadFileVersion(kFile);

    const DWORD cbWhole = GetFileVersionInfoSizeW(kFile, nullptr);
    Require(cbWhole <= input.size(), "the block is a part of the file");
    for (const DWORD cbBlock : {cbWhole, cbWhole / 2}) {
        std::vector<BYTE> block(cbBlock);
        if (!GetFileVersionInfoW(kFile, 0, cbBlock, block.data())) continue;
        for (const LPCWSTR query : {TEXT("\\"), TEXT("\\VarFileInfo\\Translation"),
                                    TEXT("\\StringFileInfo\\040904B0\\FileVersion")}) {
            void* value;
            UINT cbValue;
            if (!VerQueryValueW(block.data(), query, &value, &cbValue)) continue;
            const auto offset = static_cast<std::size_t>(static_cast<BYTE*>(value) - block.data());
            Require(offset <= cbBlock && cbValue <= cbBlock - offset, "the value lies inside its block");
        }
    }
}
