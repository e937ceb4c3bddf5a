// TQA_API marks what the shared library exports; everything else stays hidden.
#pragma once

#define TQA_API __attribute__((visibility("default")))
