#include "common/system_names.h"

namespace tools {

bool IsSystemsOwn(const std::string& name) {
    for (const char* part : {"\\Explorer\\Shell Folders", "\\Explorer\\User Shell Folders", "\\Wow6432Node\\",
                             "\\Software\\Wine\\"})
        if (name.find(part) != name.npos) return true;
    return false;
}

}  // namespace tools
