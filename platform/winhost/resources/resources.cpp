// Resources of this program. The compiled .res is in a section of its own.
#include "resources/resources.h"

#include "core/bytes.h"
#include "core/faults.h"
#include "core/machine.h"
#include "processes/modules.h"

// The linker defines both ends of the section if the program has one.
extern "C" {
[[gnu::weak]] extern const char __start_winres[];
[[gnu::weak]] extern const char __stop_winres[];
}

namespace winhost {

namespace {

constexpr std::size_t kStringsInBlock = 16;
constexpr WORD kNumberMark = 0xFFFF;

// Reads a type or name at `offset` and moves `offset` to the byte after it. Returns a number, or 0 for a text.
WORD TakeId(std::string_view header, std::size_t& offset) {
    if (WordAt(header, offset) == kNumberMark) {
        offset += 4;
        return WordAt(header, offset - 2);
    }
    while (offset < header.size() && WordAt(header, offset) != 0)
        offset += 2;
    offset += 2;
    return 0;
}

}  // namespace

ResourceSearch FindResource(std::string_view res, WORD type, WORD name) {
    ResourceSearch search;
    while (res.size() >= 8) {
        const std::size_t cbData = DwordAt(res, 0), cbHeader = DwordAt(res, 4);
        if (cbHeader < 8) break;
        std::size_t offset = 8;
        const std::string_view header = Part(res, 0, cbHeader);
        if (TakeId(header, offset) == type) {
            search.anyOfType = true;
            if (TakeId(header, offset) == name) {
                search.found = true;
                search.data = Part(res, cbHeader, cbData);
                return search;
            }
        }
        res = Part(res, Align4(cbHeader + cbData), res.size());
    }
    return search;
}

std::string_view OwnResources() {
    if (!__start_winres) return {};
    return {__start_winres, static_cast<std::size_t>(__stop_winres - __start_winres)};
}

}  // namespace winhost

int LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int cchBuffer) {
    using namespace winhost;
    if (Fails("LoadStringW", ERROR_RESOURCE_NAME_NOT_FOUND)) return 0;
    if (!buffer || cchBuffer <= 0) NotModelled("LoadStringW", "a buffer of size 0");
    if (!IsProgramModule(module)) NotModelled("LoadStringW", "a text of another module");
    *buffer = 0;
    const auto block =
        FindResource(OwnResources(), kStringTable, static_cast<WORD>(LOWORD(id) / kStringsInBlock + 1));
    if (!block.found) {
        SetLastError(block.anyOfType ? ERROR_RESOURCE_NAME_NOT_FOUND : ERROR_RESOURCE_TYPE_NOT_FOUND);
        return 0;
    }
    std::size_t offset = 0;
    for (std::size_t before = id % kStringsInBlock; before > 0; --before)
        offset += 2 + 2u * WordAt(block.data, offset);
    const std::string_view text = Part(block.data, offset + 2, 2u * WordAt(block.data, offset));
    const std::size_t cch = std::min(text.size() / 2, static_cast<std::size_t>(cchBuffer) - 1);
    Units(text).copy(buffer, cch);
    buffer[cch] = 0;
    if (text.empty()) SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return static_cast<int>(cch);
}
