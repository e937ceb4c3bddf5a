// Uses the library before main(), from a constructor that may run before the library's own, and
// after main(): in the handlers of atexit() and in a destructor that runs last.
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/lifecycle/everything.h"

#include <cstring>

namespace {

struct Early {
    Early() {
        lifecycle::useEverything();
        std::atexit([] { lifecycle::useEverything(); });
    }
    ~Early() { lifecycle::useEverything(); }
};
const Early early;

}  // namespace

int main() {
    std::atexit([] { lifecycle::useEverything(); });
    lifecycle::useEverything();
    return 0;
}
