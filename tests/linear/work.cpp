// One operation on inputs of one shape and of given sizes:
//
//     tqamsg_linear parse depth 1000000                 as it is
//     valgrind --tool=callgrind --instr-atstart=no tqamsg_linear parse depth 1000 8000
//
// Callgrind counts only the operation itself, and dumps the count of each size; linear.py reads
// them. Exit status 1 when the library did not do what it should.
#include "tests/linear/operations.h"

#include <algorithm>
#include <iostream>

#include <CLI/CLI.hpp>

// Without valgrind the program can still be run, and nothing is counted.
#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_START_INSTRUMENTATION
#define CALLGRIND_STOP_INSTRUMENTATION
#define CALLGRIND_DUMP_STATS_AT(name)
#endif

namespace {

bool run(const linear::Operation& operation, std::string_view shape, std::size_t n) {
    const linear::Work work = operation.prepare(shape, n);
    CALLGRIND_START_INSTRUMENTATION;
    const bool done = work();
    CALLGRIND_STOP_INSTRUMENTATION;
    CALLGRIND_DUMP_STATS_AT(std::to_string(n).c_str());
    return done;
}

int runAll(std::string_view name, std::string_view shape, const std::vector<std::size_t>& sizes) {
    const auto& all = linear::operations();
    const auto operation =
        std::find_if(all.begin(), all.end(), [&](const auto& known) { return known.name == name; });
    if (operation == all.end() || std::find(operation->shapes.begin(), operation->shapes.end(),
                                            shape) == operation->shapes.end()) {
        std::cerr << "tqamsg_linear: no such operation on such a shape\n";
        return 2;
    }
    for (const std::size_t n : sizes) {
        if (run(*operation, shape, n)) continue;
        std::cerr << "tqamsg_linear: " << name << ' ' << shape << ' ' << n << " failed\n";
        return 1;
    }
    return 0;
}

void list() {
    for (const linear::Operation& operation : linear::operations())
        for (const std::string_view shape : operation.shapes)
            std::cout << operation.name << ' ' << shape << '\n';
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("One operation of the library on inputs of given sizes");
    std::string operation;
    std::string shape;
    std::vector<std::size_t> sizes;
    bool onlyList = false;
    app.add_flag("--list", onlyList, "write the operations with their shapes");
    app.add_option("operation", operation);
    app.add_option("shape", shape);
    app.add_option("n", sizes, "what the shape has many of: children, levels, characters, ...");
    CLI11_PARSE(app, argc, argv);
    if (!onlyList) return runAll(operation, shape, sizes);
    list();
    return 0;
}
