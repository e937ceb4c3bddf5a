#include "tqamsg/binary/child_scan.h"

#include <exception>
#include <new>

namespace tqa {

namespace {

// Who sent the message chose the ids, and can choose so many that lie in one bucket that looking at
// each of them costs more than looking at all children. Other ids never lie together like this.
constexpr std::size_t kMostInABucket = 16;

}  // namespace

bool ChildScan::hasPassed(int id) const {
    return ids_->find(id) != ids_->end();
}

// Remembers the ids of many children one by one, so that looking for one that is not there costs no
// more than for few. They are gathered by the next search, which begins anew. When memory runs out,
// or when the ids were chosen to do harm, searching just costs more.
void ChildScan::rememberMany() {
    ids_.reset(new (std::nothrow) Ids);
    rewind();
}

void ChildScan::remember(int id) {
    try {
        const bool isNew = ids_->insert(id).second;
        if (isNew && ids_->bucket_size(ids_->bucket(id)) > kMostInABucket) ids_.reset();
    } catch (const std::exception&) {
        ids_.reset();
    }
}

}  // namespace tqa
