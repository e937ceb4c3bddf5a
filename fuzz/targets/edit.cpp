// Edits of sound messages beside a plain tree. The bytes are the script; long ones show nothing
// that short ones do not, and take their time.

#include "fuzz/support.h"
#include "fuzz/target.h"
#include "tests/support/edit_script.h"

TQA_TARGET(edit) {
    tqa_fuzz::Numbers numbers(input.substr(0, 512));
    tqa_test::EditScript script(std::ref(numbers), 40);
    while (!numbers.atEnd()) script.step();
    script.finish();
}
