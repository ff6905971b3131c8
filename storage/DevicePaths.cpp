#include "storage/DevicePaths.h"

#include <cstdlib>

namespace orvan {

std::string DevicePaths::resolve(const std::string& devicePath) {
    const char* root = std::getenv("ORVAN_ROOT");
    if (root == nullptr || root[0] == '\0') {
        return devicePath;
    }
    std::string base(root);
    while (base.size() > 1 && base.back() == '/') {
        base.pop_back();
    }
    return base + devicePath;
}

}  // namespace orvan
