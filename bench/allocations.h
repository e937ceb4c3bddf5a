// Counts what is allocated: the program's malloc, calloc, realloc and operator new all end in one
// counter, whichever library calls them.
//
//     const long before = bench::allocations();
//     parse();
//     const long made = bench::allocations() - before;
#pragma once

namespace bench {

// How many blocks were asked for so far; a realloc counts as one.
long allocations() noexcept;

}  // namespace bench
