#include "tqamsg/binary/child_scan.h"

#include <exception>
#include <new>

namespace tqa {

bool ChildScan::hasPassed(int id) const {
    return ids_->find(id) != ids_->end();
}

// Remembers the ids of many children one by one, so that looking for one that is not there costs no
// more than for few. They are gathered by the next search, which begins anew. When memory runs out
// searching just costs more.
void ChildScan::rememberMany() {
    ids_.reset(new (std::nothrow) Ids);
    rewind();
}

void ChildScan::remember(int id) {
    try {
        ids_->insert(id);
    } catch (const std::exception&) {
        ids_.reset();
    }
}

}  // namespace tqa
