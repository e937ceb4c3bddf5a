// TQA_API marks what the shared library exports; everything else stays hidden. TQA_LOCAL takes a
// member of an exported class out again: what is private may change from release to release.
#pragma once

#define TQA_API __attribute__((visibility("default")))
#define TQA_LOCAL __attribute__((visibility("hidden")))
