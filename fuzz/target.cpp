#include "fuzz/target.h"

namespace tqa_fuzz {

std::vector<Target>& targets() {
    static std::vector<Target> all;
    return all;
}

}  // namespace tqa_fuzz
