// Two copies of the library in one process, under different file names and in different name
// spaces: each has a registry, a vocabulary and messages of its own. copies LIBRARY DIRECTORY
#include "tests/lifecycle/loaded.h"

#include <filesystem>

namespace {

// The address at which the object file lies that holds this address.
const void* homeOf(const void* address) {
    Dl_info info;
    lifecycle::require(dladdr(address, &info) != 0, "an address of no library");
    return info.dli_fbase;
}

// Where the operations of a message are.
const void* operationsOf(const TQAMessage* message) {
    return *reinterpret_cast<const void* const*>(message);
}

void expectApart(const lifecycle::Library& one, const lifecycle::Library& other) {
    using lifecycle::require;
    for (const char* symbol : {"IDTextMapB5cxx11", "_ZN10TQAMessage7FactoryE", "debug_level"}) {
        const std::string name = *symbol == 'I' ? std::string("_Z9") + symbol : symbol;
        require(one.find<char>(name.c_str()) != other.find<char>(name.c_str()), symbol);
    }
    TQAMessage* const mine = one.newMessage();
    TQAMessage* const theirs = other.newMessage();
    require(homeOf(operationsOf(mine)) == homeOf(one.find<char>("debug_level")), "mine");
    require(homeOf(operationsOf(theirs)) == homeOf(other.find<char>("debug_level")), "theirs");
    one.use();
    other.use();
    *one.find<int>("debug_level") = -1;
    require(*other.find<int>("debug_level") == 1, "one level for both");
    mine->destroy();
    theirs->destroy();
    one.use();
}

}  // namespace

int main(int, char** argv) {
    const std::filesystem::path copied = std::filesystem::path(argv[2]) / "another_name.so";
    std::filesystem::copy_file(argv[1], copied, std::filesystem::copy_options::overwrite_existing);
    for (int i = 0; i < 3; ++i) {
        const lifecycle::Library one(argv[1], LM_ID_BASE);
        {
            const lifecycle::Library other(copied.c_str(), LM_ID_BASE);
            expectApart(one, other);
        }
        one.use();
        {
            const lifecycle::Library other(argv[1], LM_ID_NEWLM);
            expectApart(one, other);
        }
        one.use();
    }
    return 0;
}
