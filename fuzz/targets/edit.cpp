// Edits of sound messages beside a plain tree. The bytes are the script.

#include "fuzz/support.h"
#include "fuzz/target.h"
#include "tests/support/edit_script.h"

TQA_TARGET(edit) {
    tqa_fuzz::Numbers numbers(input);
    tqa_test::EditScript script(std::ref(numbers), 40);
    while (!numbers.atEnd()) script.step();
    script.finish();
}
