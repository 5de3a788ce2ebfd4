// What an update carries, and what it makes of the earlier installation.
#pragma once

#include "package.h"

namespace download_make {

struct Update {
    Package carried;
    std::vector<download::Rebuilt> rebuilt;
    std::vector<std::string> differences;  // packed, of the rebuilt files that aren't copies
};

// Compares the package with an earlier one. A file is rebuilt only of one that every installation of the earlier package has
// with the bytes of the package: no record for some machines copies it, nothing writes it later by its name, and no pattern of
// `always` names it. Setup's own files are always carried, and so are files that such a pattern names in the package. Throws
// std::runtime_error when a package can't be read.
Update PlanUpdate(const Package& package, const std::filesystem::path& earlier,
                  const std::vector<std::string>& always);

}  // namespace download_make
