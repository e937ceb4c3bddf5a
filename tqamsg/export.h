// TQA_API marks what the shared library exports; everything else stays hidden. TQA_LOCAL takes a
// member of an exported class out again.
#pragma once

#define TQA_API __attribute__((visibility("default")))
#define TQA_LOCAL __attribute__((visibility("hidden")))
